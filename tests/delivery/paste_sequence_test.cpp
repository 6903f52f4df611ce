// The paste itself: staging, the last check before Command-V, the keystroke, and the user's
// clipboard coming back on every path.
#include <gtest/gtest.h>

#include <string>

#include "delivery/deliver.h"
#include "delivery/delivery_messages.h"
#include "delivery/delivery_worlds.h"
#include "support/desk.h"

namespace textport {
namespace {

namespace msg = delivery_messages;
using testing::Desk;
using testing::pasteboardText;

const JsonObject kPasteSent{{"status", "paste_sent"}};

// When the text is staged and when Command-V goes out, learnt from an undisturbed run: the
// desktop is deterministic, so a second run with a timeline keeps these times.
struct PasteTimes {
  double staged = 0;
  double posted = 0;
};
PasteTimes pasteTimes(const std::string& world) {
  Desk desk(world);
  const JsonObject target = worlds::capture(desk);
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")), kPasteSent);
  PasteTimes times;
  for (const auto& write : desk.sim().record().pasteboardWrites) {
    if (write.writer == "textport") {
      times.staged = write.time;
      break;
    }
  }
  if (!desk.sim().postedEvents().empty()) times.posted = desk.sim().postedEvents().front().time;
  return times;
}

void scheduleAt(Desk& desk, double at, const std::string& action) {
  auto error = desk.sim().schedule("{\"at\": " + std::to_string(at) + ", " + action + "}");
  ASSERT_FALSE(error) << *error;
}

constexpr const char* kOtherWriter =
    R"("pasteboard": [[{"type": "public.utf8-plain-text", "text": "from another program"}]])";

TEST(PasteSequence, PastesWithCommandVAndPutsTheUsersClipboardBack) {
  Desk desk(worlds::kEditor);
  const std::string before = pasteboardText(desk.sim());
  const JsonObject target = worlds::capture(desk);
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")), kPasteSent);
  EXPECT_EQ(desk.sim().fieldValue("body"), "Hello bold new world");
  EXPECT_EQ(pasteboardText(desk.sim()), before);

  const auto& events = desk.sim().postedEvents();
  ASSERT_EQ(events.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_TRUE(events[i].keyboard);
    EXPECT_EQ(events[i].keyCode, 9);
    EXPECT_EQ(events[i].flags, kEventFlagMaskCommand);  // only Command, whatever is held
  }
  EXPECT_EQ(events[0].type, EventType::keyDown);
  EXPECT_EQ(events[1].type, EventType::keyUp);
  EXPECT_EQ(events[0].time, events[1].time);
  // The receiving application had 0.35 s to read the text before the restore.
  const auto& waits = desk.sim().record().waits;
  ASSERT_FALSE(waits.empty());
  EXPECT_EQ(waits.back().seconds, 0.35);
  EXPECT_FALSE(waits.back().runLoop);
}

TEST(PasteSequence, TheUsersClipboardComesBackWhateverItHeld) {
  for (
      const char* pasteboard :
      {"[]",
       R"([[{"type": "public.png", "hex": "00ff00fe"}], [{"type": "com.example.private", "hex": ""}]])",
       worlds::kUserPasteboard}) {
    SCOPED_TRACE(pasteboard);
    std::string world = worlds::kEditor;
    world.replace(world.find(worlds::kUserPasteboard), std::string(worlds::kUserPasteboard).size(),
                  pasteboard);
    for (const char* text : {"bold", ""}) {
      Desk desk(world);
      const auto before = desk.sim().pasteboardContents();
      const JsonObject target = worlds::capture(desk);
      EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, text)), kPasteSent);
      EXPECT_EQ(desk.sim().pasteboardContents(), before);
    }
  }
}

struct Interruption {
  const char* rule;
  std::string world;
  const char* happening;  // during the paste, after the text was staged
  const char* message;
};

TEST(PasteSequence, ChangesAfterTheChecksStopTheKeystroke) {
  const Interruption cases[] = {
      {"focus moved to another field", worlds::kEditor, R"("focus": "title")", msg::kFocusChanged},
      {"the caret moved", worlds::kEditor, R"("select": {"element": "body", "range": [0, 0]})",
       msg::kFocusChanged},
      {"another application came to the front", worlds::kEditor, R"("frontmost": 600)",
       msg::kFocusChanged},
      {"a key press in the composer", worlds::chat(), R"("key": 0)", msg::kInteractionChanged},
      {"a click in the composer", worlds::chat(), R"("click": {})", msg::kInteractionChanged},
      {"the composer lost the focus", worlds::chat(), R"("focus": "search")", msg::kFocusChanged},
      {"another conversation window", worlds::chatWithoutFocus(), R"("focused_window": "chat2")",
       msg::kFocusChanged},
      {"a key press before a window paste", worlds::chatWithoutFocus(), R"("key": 0)",
       msg::kInteractionChanged},
  };
  for (const Interruption& c : cases) {
    SCOPED_TRACE(c.rule);
    const PasteTimes times = pasteTimes(c.world);
    for (bool otherWriter : {false, true}) {
      Desk desk(c.world);
      const std::string before = pasteboardText(desk.sim());
      const JsonObject target = worlds::capture(desk);
      scheduleAt(desk, times.staged + 1e-4, c.happening);
      if (otherWriter) scheduleAt(desk, times.staged + 1e-4, kOtherWriter);
      EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")),
                errorAnswer(c.message));
      EXPECT_TRUE(desk.sim().postedEvents().empty());
      // The staged text never stays; a newer clipboard write is never overwritten.
      EXPECT_EQ(pasteboardText(desk.sim()),
                otherWriter ? "[public.utf8-plain-text=from another program;]" : before);
    }
  }
}

TEST(PasteSequence, ANewerClipboardWriteIsNeverOverwritten) {
  const PasteTimes times = pasteTimes(worlds::kEditor);
  Desk desk(worlds::kEditor);
  const JsonObject target = worlds::capture(desk);
  scheduleAt(desk, times.posted + 0.2, kOtherWriter);
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")), kPasteSent);
  EXPECT_EQ(desk.sim().fieldValue("body"), "Hello bold new world");
  EXPECT_EQ(pasteboardText(desk.sim()), "[public.utf8-plain-text=from another program;]");
}

TEST(PasteSequence, AKeystrokeThatCannotBeMadeRestoresTheClipboardUnconditionally) {
  const PasteTimes times = pasteTimes(worlds::kEditor);
  for (const char* failure : {"keyboard_fails", "keyboard_fails_after"}) {
    SCOPED_TRACE(failure);
    Desk desk(worlds::kEditor);
    const std::string before = pasteboardText(desk.sim());
    auto& failures = desk.sim().input().failures();
    if (std::string(failure) == "keyboard_fails") {
      failures.keyboard = true;
    } else {
      failures.keyboardAfter = 1;  // the key-down is made, the key-up is not
    }
    const JsonObject target = worlds::capture(desk);
    // Even a write by someone else after the staging is replaced: no keystroke went out, so
    // the user must get their own clipboard back.
    scheduleAt(desk, times.staged + 1e-4, kOtherWriter);
    EXPECT_EQ(testing::wire(deliver(desk.session, worlds::deliverRequest(target, "bold"))),
              R"({"error":"无法生成输入事件"})");
    EXPECT_TRUE(desk.sim().postedEvents().empty());
    EXPECT_EQ(desk.sim().fieldValue("body"), "Hello brave new world");
    EXPECT_EQ(pasteboardText(desk.sim()), before);
  }
}

TEST(PasteSequence, AMissingEventSourceDoesNotStopThePaste) {
  Desk desk(worlds::kEditor);
  desk.sim().input().failures().source = true;
  const JsonObject target = worlds::capture(desk);
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")), kPasteSent);
  EXPECT_EQ(desk.sim().postedEvents().size(), 2u);
}

}  // namespace
}  // namespace textport
