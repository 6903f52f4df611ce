// Delivering into the captured target: every refusal in its order, per kind of target.
#include "delivery/deliver.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "capture/target_description.h"
#include "delivery/delivery_messages.h"
#include "delivery/delivery_worlds.h"
#include "support/desk.h"

namespace textport {
namespace {

namespace msg = delivery_messages;
using testing::Desk;

// What a refusal before the paste must leave alone: the pasteboard and the input stream.
void expectDesktopUntouched(Desk& desk) {
  EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
  EXPECT_TRUE(desk.sim().postedEvents().empty());
}

struct Refusal {
  const char* rule;
  // Changes the desktop after the capture and may change the request.
  std::function<void(Desk&, JsonObject& request)> change;
  const char* message;
  bool tokenSpent;
};

void schedule(Desk& desk, const char* entry) {
  auto error = desk.sim().schedule(entry);
  ASSERT_FALSE(error) << *error;
}

JsonObject& presented(JsonObject& request) {
  return std::get<JsonObject>(request["target"].data);
}

// Each case would also fail every later check, so the message shows which check ran first.
TEST(Deliver, RefusesAFocusedTargetAtTheFirstCheckThatFails) {
  const Refusal refusals[] = {
      {"without the permission nothing is read, not even the text",
       [](Desk& d, JsonObject& r) {
         d.sim().setTrusted(false);
         r.erase("text");
       },
       msg::kAccessibilityRequired, false},
      {"a missing text keeps the token", [](Desk&, JsonObject& r) { r.erase("text"); },
       msg::kMissingTarget, false},
      {"a mistyped text counts as missing", [](Desk&, JsonObject& r) { r["text"] = 5; },
       msg::kMissingTarget, false},
      {"a target that is no object", [](Desk&, JsonObject& r) { r["target"] = "x"; },
       msg::kMissingTarget, false},
      {"a pid given as a string",
       [](Desk& d, JsonObject& r) {
         presented(r)["pid"] = "501";
         schedule(d, R"({"frontmost": 600})");
       },
       msg::kInputFieldUnavailable, false},
      {"a description made without capture",
       [](Desk&, JsonObject& r) { presented(r).erase("captureToken"); },
       msg::kInputFieldUnavailable, false},
      {"a token this process never issued",
       [](Desk& d, JsonObject& r) {
         presented(r)["captureToken"] = "00000000-0000-4000-8000-0000000000FF";
         schedule(d, R"({"frontmost": 600})");
       },
       msg::kOriginalTargetExpired, false},
      {"the user switched application",
       [](Desk& d, JsonObject&) { schedule(d, R"({"frontmost": 600})"); },
       msg::kActiveApplicationChanged, true},
      {"a pid beyond 32 bits names no process",
       [](Desk&, JsonObject& r) {
         presented(r)["pid"] = std::int64_t{501} + (std::int64_t{1} << 32);
       },
       msg::kActiveApplicationChanged, true},
      {"the focus moved to another field",
       [](Desk& d, JsonObject&) {
         schedule(d, R"({"focus": "title"})");
         schedule(d, R"({"key": 0})");  // typing does not matter for a focused target
       },
       msg::kInputFieldChanged, true},
      {"the caret moved",
       [](Desk& d, JsonObject&) {
         schedule(d, R"({"select": {"element": "body", "range": [0, 0]}})");
       },
       msg::kTargetChanged, true},
      {"the same range now holds other text (case counts)",
       [](Desk& d, JsonObject&) {
         schedule(
             d,
             R"({"edit": {"element": "body", "value": "Hello BRAVE new world", "range": [6, 5]}})");
       },
       msg::kTargetChanged, true},
      {"the presented selection no longer matches",
       [](Desk&, JsonObject& r) { presented(r)["selection"] = "brave "; }, msg::kTargetChanged,
       true},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.rule);
    Desk desk(worlds::kEditor);
    const JsonObject target = worlds::capture(desk);
    const std::string token = std::get<std::string>(target.at("captureToken").data);
    JsonObject request = worlds::deliverRequest(target, "bold");
    refusal.change(desk, request);
    EXPECT_EQ(testing::wire(deliver(desk.session, request)),
              testing::wire(errorAnswer(refusal.message)));
    EXPECT_EQ(desk.session.capturedElements.contains(token), !refusal.tokenSpent);
    expectDesktopUntouched(desk);
  }
}

TEST(Deliver, SecondDeliverWithTheSameTokenIsRefused) {
  for (bool firstSucceeds : {true, false}) {
    Desk desk(worlds::kEditor);
    const JsonObject target = worlds::capture(desk);
    if (!firstSucceeds) schedule(desk, R"({"select": {"element": "body", "range": [0, 0]}})");
    const JsonObject first = deliver(desk.session, worlds::deliverRequest(target, "bold"));
    EXPECT_EQ(first.count("error"), firstSucceeds ? 0u : 1u);
    EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bold")),
              errorAnswer(msg::kOriginalTargetExpired));
  }
}

TEST(Deliver, SelectionsThatDifferOnlyInCompositionAreTheSame) {
  Desk desk(worlds::kEditor);
  schedule(desk, R"({"edit": {"element": "body", "value": "Hello café world", "range": [6, 4]}})");
  JsonObject target = worlds::capture(desk);
  target["selection"] = "cafe\xCC\x81";  // e + combining acute accent
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "bar")),
            (JsonObject{{"status", "paste_sent"}}));
  EXPECT_EQ(desk.sim().fieldValue("body"), "Hello bar world");
}

struct Activity {
  const char* rule;
  const char* happening;         // a timeline entry, or null
  std::int64_t keyCounterShift;  // moved directly, to reach values near 2^32
  JsonValue allowed;             // "allowed_key_events", or null to leave it out
  bool pasted;
};

TEST(Deliver, ComposerNeedsExactlyTheAllowedKeyPressesAndNoClick) {
  const Activity cases[] = {
      {"nothing happened", nullptr, 0, nullptr, true},
      {"the two keys the parent expected", R"({"key": 0})", 1, 2, true},
      {"one key short", nullptr, 1, 2, false},
      {"one key too many", R"({"key": 0})", 2, 2, false},
      {"a negative allowance counts as none", nullptr, 0, -5, true},
      {"a string allowance counts as none", nullptr, 0, "3", true},
      {"a string allowance does not excuse a key", nullptr, 1, "1", false},
      {"a click refuses whatever is allowed", R"({"click": {"button": "right"}})", 0, 0, false},
      {"an allowance beyond 32 bits is clamped to the largest count", nullptr, -1,
       std::int64_t{5000000000}, true},
      {"clamped, not cut down to its low 32 bits", nullptr, 705032704, std::int64_t{5000000000},
       false},
  };
  for (const Activity& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(worlds::chat());
    const JsonObject target = worlds::capture(desk);
    EXPECT_EQ(target.at("target_mode"), JsonValue("composer"));
    if (c.happening) schedule(desk, c.happening);
    auto& input = desk.sim().input();
    input.setCounter(EventType::keyDown, input.counter(EventType::keyDown) +
                                             static_cast<std::uint32_t>(c.keyCounterShift));
    JsonObject request = worlds::deliverRequest(target, "hi");
    if (!(c.allowed == JsonValue(nullptr))) request["allowed_key_events"] = c.allowed;
    const JsonObject answer = deliver(desk.session, request);
    if (c.pasted) {
      EXPECT_EQ(answer, (JsonObject{{"status", "paste_sent"}}));
      EXPECT_EQ(desk.sim().fieldValue("composer"), "drafthi");
    } else {
      EXPECT_EQ(answer, errorAnswer(msg::kConversationContextChanged));
      EXPECT_EQ(desk.sim().fieldValue("composer"), "draft");
      expectDesktopUntouched(desk);
    }
  }
}

TEST(Deliver, ComposerRefusals) {
  const struct {
    const char* rule;
    std::string world;
    const char* happening;
    const char* message;
  } cases[] = {
      {"the user moved to another conversation window", worlds::chat(),
       R"({"focused_window": "chat2"})", msg::kConversationContextChanged},
      {"the composer refuses the focus", worlds::chat(R"("set_errors": {"AXFocused": -25200},)"),
       nullptr, msg::kCannotFocusComposer},
      {"text is selected in the composer", worlds::chat(),
       R"({"select": {"element": "composer", "range": [0, 4]}})", msg::kReviewSelectedInput},
      {"a selection that cannot be read still counts",
       worlds::chat(R"("attributes": {"AXSelectedText": {"nothing": true}},)"),
       R"({"select": {"element": "composer", "range": [0, 4]}})", msg::kReviewSelectedInput},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(c.world);
    const JsonObject target = worlds::capture(desk);
    if (c.happening) schedule(desk, c.happening);
    EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "hi")), errorAnswer(c.message));
    EXPECT_EQ(desk.sim().fieldValue("composer"), "draft");
    expectDesktopUntouched(desk);
  }
}

TEST(Deliver, ComposerGetsTheFocusBackBeforeThePaste) {
  Desk desk(worlds::chat());
  const JsonObject target = worlds::capture(desk);
  schedule(desk, R"({"focus": "search"})");
  EXPECT_EQ(deliver(desk.session, worlds::deliverRequest(target, "hi")),
            (JsonObject{{"status", "paste_sent"}}));
  EXPECT_EQ(desk.sim().fieldValue("composer"), "drafthi");
  EXPECT_EQ(desk.sim().fieldValue("search"), "");
}

TEST(Deliver, WindowPasteChecksOnlyTheWindowAndTheActivity) {
  for (bool otherWindow : {false, true}) {
    Desk desk(worlds::chatWithoutFocus());
    const JsonObject target = worlds::capture(desk);
    ASSERT_EQ(target.at("target_mode"), JsonValue("window_paste"));
    if (otherWindow) schedule(desk, R"({"focused_window": "chat2"})");
    const JsonObject answer = deliver(desk.session, worlds::deliverRequest(target, "hi"));
    if (otherWindow) {
      EXPECT_EQ(answer, errorAnswer(msg::kConversationContextChanged));
      expectDesktopUntouched(desk);
    } else {
      EXPECT_EQ(answer, (JsonObject{{"status", "paste_sent"}}));
      EXPECT_EQ(desk.sim().postedEvents().size(), 2u);
    }
  }
}

}  // namespace
}  // namespace textport
