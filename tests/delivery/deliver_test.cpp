// Delivering into the captured target: the key presses a conversation allows, and the paste
// itself: staging, the last check before Command-V, the keystroke, and the user's clipboard
// coming back on every path. The scenario files cover every refusal before the paste in the
// order the checks run (with the tokens they keep or use up), a newer clipboard write winning
// over the restore, a focused target that ignores typing and differences of composition, and the
// exact Command-V events.
#include "delivery/deliver.h"

#include <gtest/gtest.h>

#include <string>

#include "capture/target_description.h"
#include "delivery/delivery_messages.h"
#include "support/desk.h"

namespace textport {
namespace {

namespace msg = delivery_messages;
using testing::Desk;
using testing::pasteboardText;
using testing::worldFile;

// The editor (pid 501) with "brave" selected in its body and a Find field, and Mail (pid 502).
const std::string kEditor = worldFile("editor_and_mail.json");
// The chat application with a second window; the caret is at the end of the composer's draft.
const std::string kChat = worldFile("chat_two_windows.json");
// The same without a composer: nothing is focused and pastes go to the focused window.
const std::string kChatWindow = worldFile("chat_two_windows_no_composer.json");

JsonObject capture(Desk& desk) {
  return targetAction(desk.session.capture(),
                      JsonObject{{"action", "target"}, {"selection", true}});
}

// A delivery of `text`; `allowed` is the "allowed_key_events", or null to leave it out.
JsonObject deliverTo(Desk& desk, const JsonObject& target, const std::string& text,
                     const JsonValue& allowed = nullptr) {
  JsonObject request{{"action", "deliver"}, {"target", target}, {"text", text}};
  if (!(allowed == JsonValue(nullptr))) request["allowed_key_events"] = allowed;
  return deliver(desk.session, request);
}

const JsonObject kPasteSent{{"status", "paste_sent"}};

// Adds a timeline entry, its action without braces: `at` seconds when given, else at once.
void schedule(Desk& desk, const std::string& action, double at = -1) {
  const std::string when = at < 0 ? "" : "\"at\": " + std::to_string(at) + ", ";
  EXPECT_EQ(desk.sim().schedule("{" + when + action + "}"), std::nullopt);
}

// The user also put the focus into the search field each time: the composer takes it back.
TEST(Deliver, ComposerNeedsExactlyTheAllowedKeyPressesAndTakesTheFocusBack) {
  const struct {
    const char* rule;
    std::int64_t keysPressed;  // the counter (0 at the capture) is set directly, to reach 2^32
    JsonValue allowed;         // "allowed_key_events", or null to leave it out
    bool pasted;
  } cases[] = {
      {"no key pressed", 0, nullptr, true},
      {"one key short", 1, 2, false},
      {"a negative allowance counts as none", 0, -5, true},
      {"a string allowance does not excuse a key", 1, "1", false},
      {"beyond 32 bits: the largest count", -1, std::int64_t{5000000000}, true},
      {"clamped, not cut down to its low 32 bits", 705032704, std::int64_t{5000000000}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(kChat);
    const JsonObject target = capture(desk);
    ASSERT_EQ(target.at("target_mode"), JsonValue("composer"));
    schedule(desk, R"("focus": "search")");
    desk.sim().input().setCounter(EventType::keyDown, static_cast<std::uint32_t>(c.keysPressed));
    EXPECT_EQ(deliverTo(desk, target, "hi", c.allowed),
              c.pasted ? kPasteSent : errorAnswer(msg::kConversationContextChanged));
    EXPECT_EQ(desk.sim().fieldValue("composer"), c.pasted ? "drafthi" : "draft");
    // A refusal stages nothing and posts nothing.
    EXPECT_EQ(desk.sim().record().writesBy("textport") > 0, c.pasted);
    EXPECT_EQ(desk.sim().postedEvents().size(), c.pasted ? 2u : 0u);
    // The composer gets 0.04 s to take the focus before anything else is looked at.
    const auto& waits = desk.sim().record().waits;
    EXPECT_EQ(waits.empty() ? 0.0 : waits.front().seconds, c.pasted ? 0.04 : 0.0);
  }
}

constexpr const char* kOtherWriter =
    R"("pasteboard": [[{"type": "public.utf8-plain-text", "text": "from another program"}]])";

// When the text is staged, learnt from an undisturbed run: the desktop is deterministic, so a
// second run with a timeline keeps this time.
double stagingTime(const std::string& world) {
  Desk desk(world);
  EXPECT_EQ(deliverTo(desk, capture(desk), "bold"), kPasteSent);
  for (const auto& write : desk.sim().record().pasteboardWrites) {
    if (write.writer == "textport") return write.time;
  }
  return 0;
}

// However large the text, the receiving application gets 0.35 s of sleep (not a run-loop turn)
// to read it before the user's clipboard comes back. The scenario files paste an empty text and
// over empty and odd clipboards, and show an application reading just before and just after.
TEST(PasteSequence, StagesTwentyMebibytesAndSleepsAThirdOfASecondBeforeTheRestore) {
  Desk desk(kEditor);
  const std::string text(20 << 20, 'x');
  const auto before = desk.sim().pasteboardContents();
  EXPECT_EQ(deliverTo(desk, capture(desk), text), kPasteSent);
  EXPECT_EQ(desk.sim().fieldValue("body"), "Hello " + text + " new world");
  EXPECT_EQ(desk.sim().pasteboardContents(), before);
  ASSERT_FALSE(desk.sim().record().waits.empty());
  EXPECT_EQ(desk.sim().record().waits.back().seconds, 0.35);
  EXPECT_FALSE(desk.sim().record().waits.back().runLoop);
}

TEST(PasteSequence, ChangesAfterTheChecksStopTheKeystroke) {
  const struct {
    const char* rule;
    std::string world;
    const char* happening;  // during the paste, after the text was staged
    const char* message;
  } cases[] = {
      {"focus moved to another field", kEditor, R"("focus": "find")", msg::kFocusChanged},
      {"the caret moved", kEditor, R"("select": {"element": "body", "range": [0, 0]})",
       msg::kFocusChanged},
      {"another application came to the front", kEditor, R"("frontmost": 502)", msg::kFocusChanged},
      {"a key press in the composer", kChat, R"("key": 0)", msg::kInteractionChanged},
      {"a click in the composer", kChat, R"("click": {})", msg::kInteractionChanged},
      {"the composer lost the focus", kChat, R"("focus": "search")", msg::kFocusChanged},
      {"another conversation window", kChatWindow, R"("focused_window": "chat2")",
       msg::kFocusChanged},
      {"a key press before a window paste", kChatWindow, R"("key": 0)", msg::kInteractionChanged},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    const double staged = stagingTime(c.world);
    for (bool otherWriter : {false, true}) {
      Desk desk(c.world);
      const std::string before = pasteboardText(desk.sim());
      const JsonObject target = capture(desk);
      schedule(desk, c.happening, staged + 1e-4);
      if (otherWriter) schedule(desk, kOtherWriter, staged + 1e-4);
      EXPECT_EQ(deliverTo(desk, target, "bold"), errorAnswer(c.message));
      EXPECT_TRUE(desk.sim().postedEvents().empty());
      // The staged text never stays; a newer clipboard write is never overwritten.
      EXPECT_EQ(pasteboardText(desk.sim()),
                otherWriter ? "[public.utf8-plain-text=from another program;]" : before);
    }
  }
}

// Without a keystroke the user's clipboard comes back even over a newer write: nothing was sent
// that could read the staged text, so the staged text is ours alone to take back.
TEST(PasteSequence, AKeystrokeThatCannotBeMadeRestoresTheClipboardUnconditionally) {
  const double staged = stagingTime(kEditor);
  const struct {
    const char* rule;
    void (*fail)(sim::EventFailures&);
    bool pasted;
  } cases[] = {
      {"no event source: pasted anyway", [](sim::EventFailures& f) { f.source = true; }, true},
      {"no keyboard event", [](sim::EventFailures& f) { f.keyboard = true; }, false},
      {"no key-up after the key-down", [](sim::EventFailures& f) { f.keyboardAfter = 1; }, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(kEditor);
    const std::string before = pasteboardText(desk.sim());
    c.fail(desk.sim().input().failures());
    const JsonObject target = capture(desk);
    if (!c.pasted) schedule(desk, kOtherWriter, staged + 1e-4);
    EXPECT_EQ(testing::wire(deliverTo(desk, target, "bold")),
              c.pasted ? R"({"status":"paste_sent"})" : R"({"error":"无法生成输入事件"})");
    EXPECT_EQ(desk.sim().postedEvents().size(), c.pasted ? 2u : 0u);
    EXPECT_EQ(desk.sim().fieldValue("body"),
              c.pasted ? "Hello bold new world" : "Hello brave new world");
    EXPECT_EQ(pasteboardText(desk.sim()), before);
  }
}

}  // namespace
}  // namespace textport
