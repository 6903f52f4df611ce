// The "target" action on worlds that behave like the desktops users run.
#include <gtest/gtest.h>

#include "capture/target_description.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::pasteboardText;
using testing::wire;

std::string worldFile(const std::string& name) { return testing::sourceFile("tests/worlds/" + name); }

JsonObject capture(Desk& desk, JsonValue selection = true) {
  return targetAction(desk.session.capture(), JsonObject{{"action", "target"}, {"selection", selection}});
}

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};
const std::vector<std::string> kPlain = {"textport"};

struct Case {
  const char* world;  // a file under tests/worlds, or the world itself
  std::vector<std::string> arguments;
  JsonValue selection;
  const char* answer;
};

// The slowest capture is an application that does not answer: the focused element (0.3 s), the
// system-wide fallback (0.15 s), the focused window (0.3 s) and the menu bar (0.3 s).
constexpr double kCaptureBudget = 0.3 + 0.15 + 0.3 + 0.3 + 0.01;

TEST(Target, AnswersEachDesktopByteForByteWithinItsTimeouts) {
  const Case cases[] = {
      {"editor.json", kPlain, true,
       R"({"bundle":"com.apple.TextEdit","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"body","length":5,"name":"TextEdit","offset":6,"pid":501,"role":"AXTextArea","selection":"world","selection_source":"accessibility","target_mode":"focused","window":7})"},
      {"editor.json", kPlain, false,
       R"({"bundle":"com.apple.TextEdit","identifier":"body","length":5,"name":"TextEdit","offset":6,"pid":501,"role":"AXTextArea","target_mode":"focused","window":7})"},
      // A "selection" that is not a boolean counts as false.
      {"editor.json", kPlain, "true",
       R"({"bundle":"com.apple.TextEdit","identifier":"body","length":5,"name":"TextEdit","offset":6,"pid":501,"role":"AXTextArea","target_mode":"focused","window":7})"},
      {"editor.json", kPlain, 1,
       R"({"bundle":"com.apple.TextEdit","identifier":"body","length":5,"name":"TextEdit","offset":6,"pid":501,"role":"AXTextArea","target_mode":"focused","window":7})"},
      {"{}", kPlain, true, "{}"},  // no frontmost application
      // A focused element without a window has no window key; an unreadable number is 0.
      {R"({"frontmost": 1, "apps": [{"pid": 1, "focused": "f", "tree": {"attributes":
         {"AXFocusedWindow": null}, "children": [{"id": "w", "children": [{"id": "f", "role":
         "AXTextField", "value": "x"}]}]}}]})", kPlain, false,
       R"({"bundle":"","identifier":"","length":0,"name":"","offset":1,"pid":1,"role":"AXTextField","target_mode":"focused"})"},
      {R"({"frontmost": 1, "apps": [{"pid": 1, "focused": "f", "tree": {"children": [{"id": "w",
         "attributes": {"AXWindowNumber": "seven"}, "children": [{"id": "f", "role": "AXTextField",
         "value": "x"}]}]}}]})", kPlain, false,
       R"({"bundle":"","identifier":"","length":0,"name":"","offset":1,"pid":1,"role":"AXTextField","target_mode":"focused","window":0})"},
      {"text_marker.json", kPlain, true,
       R"({"bundle":"com.example.browser","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"comment","length":12,"name":"Browser","offset":7,"pid":502,"role":"AXTextArea","selection":"marked words","selection_source":"accessibility","target_mode":"focused","window":3})"},
      {"copy_route.json", kPlain, true,
       R"({"bundle":"com.example.terminal","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"shell","length":11,"name":"Terminal","offset":7,"pid":503,"role":"AXTextArea","selection":"copied text","selection_source":"copy","target_mode":"focused","window":11})"},
      // The field reports a selection it cannot hand over: the parent learns that there was one.
      {"copy_disabled.json", kPlain, true,
       R"({"bundle":"com.example.terminal","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"shell","length":11,"name":"Terminal","offset":7,"pid":503,"role":"AXTextArea","selection_error":true,"target_mode":"focused","window":11})"},
      {"copy_image_only.json", kPlain, true,
       R"({"bundle":"com.example.terminal","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"shell","length":11,"name":"Terminal","offset":7,"pid":503,"role":"AXTextArea","selection_error":true,"target_mode":"focused","window":11})"},
      {"copy_never_writes.json", kPlain, true,
       R"({"bundle":"com.example.terminal","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"shell","length":11,"name":"Terminal","offset":7,"pid":503,"role":"AXTextArea","selection_error":true,"target_mode":"focused","window":11})"},
      {"password.json", kPlain, true,
       R"({"bundle":"com.example.login","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"pw","length":7,"name":"Login","offset":0,"pid":800,"role":"AXTextField","selection_error":true,"target_mode":"focused","window":2})"},
      // In a chat composer the selection keys are never reported.
      {"chat_composer_focused.json", kPlain, true,
       R"({"bundle":"com.tencent.xinWeChat","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"chatInput","length":0,"name":"WeChat","offset":5,"pid":600,"role":"AXTextArea","target_mode":"composer","window":42})"},
      {"chat_composer_search.json", kPlain, false,
       R"({"bundle":"com.tencent.xinWeChat","identifier":"chatInput","length":0,"name":"WeChat","offset":5,"pid":600,"role":"AXTextArea","target_mode":"composer","window":42})"},
      {"chat_unfocused.json", kPlain, true,
       R"({"bundle":"com.tencent.xinWeChat","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"chatInput","length":0,"name":"WeChat","offset":5,"pid":600,"role":"AXTextArea","target_mode":"composer","window":42})"},
      {"chat_two_composers.json", kPlain, true,
       R"({"bundle":"com.tencent.xinWeChat","capture_reason":"focused_element_unavailable","name":"WeChat","pid":600,"target_mode":"unavailable"})"},
      {"chat_window_paste.json", kPlain, true,
       R"({"bundle":"com.tencent.xinWeChat","captureToken":"00000000-0000-4000-8000-000000000001","identifier":"","name":"WeChat","pid":600,"role":"AXWindow","target_mode":"window_paste","window":42})"},
      // With the verification flag the opaque fixture hides its focus and skips the search.
      {"fixture_opaque.json", kVerify, false,
       R"({"bundle":"app.tamsel.fixtureopaque","identifier":"","name":"Opaque Fixture","pid":600,"role":"AXWindow","target_mode":"window_paste","window":42})"},
      {"fixture_opaque.json", kPlain, false,
       R"({"bundle":"app.tamsel.fixtureopaque","identifier":"chatInput","length":0,"name":"Opaque Fixture","offset":5,"pid":600,"role":"AXTextArea","target_mode":"composer","window":42})"},
      {"hung.json", kPlain, true,
       R"({"bundle":"com.example.frozen","capture_reason":"focused_element_unavailable","name":"Frozen","pid":700,"target_mode":"unavailable"})"},
      {"slow.json", kPlain, true,
       R"({"bundle":"com.example.sluggish","capture_reason":"focused_element_unavailable","name":"Sluggish","pid":700,"target_mode":"unavailable"})"},
  };
  for (const Case& c : cases) {
    Desk desk(c.world[0] == '{' ? c.world : worldFile(c.world), c.arguments);
    const std::string before = pasteboardText(desk.sim());
    const JsonObject answer = capture(desk, c.selection);
    EXPECT_EQ(wire(answer), c.answer) << c.world;
    EXPECT_EQ(desk.session.capturedElements.size(), answer.count("captureToken")) << c.world;
    EXPECT_EQ(pasteboardText(desk.sim()), before) << c.world << ": the user's pasteboard changed";
    EXPECT_EQ(desk.sim().record().requestsOnPlatformDefault(), 0u)
        << c.world << ": an accessibility request ran without a timeout of ours";
    EXPECT_LE(desk.sim().time(), kCaptureBudget) << c.world;
  }
}

TEST(Target, WithoutTrustReportsOnlyTheApplicationEvenWhenAskedToCapture) {
  Desk desk(worldFile("editor.json"));
  desk.sim().setTrusted(false);
  EXPECT_EQ(wire(capture(desk)),
            R"({"bundle":"com.apple.TextEdit","capture_reason":"accessibility_unavailable","name":"TextEdit","pid":501,"target_mode":"unavailable"})");
  EXPECT_EQ(desk.session.capturedElements.size(), 0u);
  for (const auto& request : desk.sim().record().requests) {
    EXPECT_EQ(request.element, "system-wide") << "asked the application for " << request.name;
  }
}

TEST(Target, ReportsSelectionsUpToTwentyThousandBytes) {
  for (std::size_t size : {20000u, 20001u}) {
    // Two-byte characters so that the limit is in bytes, not characters.
    std::string text;
    for (std::size_t i = 0; i < size / 2; ++i) text += "\xC3\xA9";
    if (size % 2) text += "x";
    Desk desk(R"({"frontmost": 1, "apps": [{"pid": 1, "focused": "f", "tree": {"children": [
      {"id": "w", "children": [{"id": "f", "role": "AXTextArea", "value": ")" + text +
              R"(", "selected_range": [0, )" + std::to_string(size / 2 + size % 2) + "]}]}]}}]}");
    JsonObject answer = capture(desk);
    if (size == 20000) {
      EXPECT_TRUE(readString(answer, "selection") == text) << "20000 bytes were not reported";
    } else {
      EXPECT_FALSE(answer.count("selection"));
      EXPECT_EQ(answer["selection_error"], JsonValue(true));
    }
  }
}

TEST(Target, TextCopiedWithoutAFocusedElementIsReportedWithoutAToken) {
  std::string world = worldFile("copy_route.json");
  world.replace(world.find(R"("focused": "screen",)"), 20, "");
  Desk desk(world);
  // Without a focused field the Copy behaviour has no selection of its own to write.
  desk.sim().world().app(503)->copy->writes = sim::CopyBehaviour::Writes::text;
  desk.sim().world().app(503)->copy->text = "from the menu";
  EXPECT_EQ(wire(capture(desk)),
            R"({"bundle":"com.example.terminal","capture_reason":"focused_element_unavailable","name":"Terminal","pid":503,"selection":"from the menu","selection_source":"copy","target_mode":"unavailable"})");
  EXPECT_EQ(desk.session.capturedElements.size(), 0u);
}

}  // namespace
}  // namespace textport
