// The "target" action on worlds that behave like the desktops users run: each desktop checks only
// the keys that set it apart. The scenario files compare one answer of each family byte for byte
// (a focused field, a composer, a window paste, a hung application, an empty desktop).
#include <gtest/gtest.h>

#include "capture/target_description.h"
#include "request/json_reader.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::wire;
using testing::worldFile;

// One text area whose whole content, two-byte characters and at most one "x", is selected.
std::string selectionOf(const std::string& text) {
  return R"({"frontmost": 1, "apps": [{"pid": 1, "focused": "f", "tree": {"children": [
    {"id": "w", "children": [{"id": "f", "role": "AXTextArea", "value": ")" +
         text + R"(", "selected_range": [0, )" + std::to_string(text.size() / 2 + text.size() % 2) +
         "]}]}]}}]}";
}

struct Row {
  std::string world;  // a file under tests/worlds, or the world itself
  std::string keys;   // a JSON object: the keys that matter, null for a key that must be absent
  JsonValue selection = true;
  bool verify = false;  // --verify-selection
};

// The slowest capture is an application that does not answer: the focused element (0.3 s), the
// system-wide fallback (0.15 s), the focused window (0.3 s) and the menu bar (0.3 s).
constexpr double kCaptureBudget = 0.3 + 0.15 + 0.3 + 0.3 + 0.01;

// Captures on the row's desktop and checks what holds for every capture: a token is kept only
// when one is reported, the user's pasteboard is as it was, every accessibility request runs with
// a timeout of ours, and even a hung application is answered in time.
JsonObject capture(const Row& row) {
  Desk desk(row.world.front() == '{' ? row.world : worldFile(row.world),
            row.verify ? std::vector<std::string>{"textport", "--verify-selection"}
                       : std::vector<std::string>{"textport"});
  const std::string before = testing::pasteboardText(desk.sim());
  const JsonObject answer = targetAction(
      desk.session.capture(), JsonObject{{"action", "target"}, {"selection", row.selection}});
  EXPECT_EQ(desk.session.capturedElements.size(), answer.count("captureToken"));
  EXPECT_EQ(testing::pasteboardText(desk.sim()), before) << "the user's pasteboard changed";
  EXPECT_EQ(desk.sim().record().requestsOnPlatformDefault(), 0u)
      << "an accessibility request ran without a timeout of ours";
  EXPECT_LE(desk.sim().time(), kCaptureBudget);
  if (answer.contains("capture_reason") &&
      answer.at("capture_reason") == JsonValue("accessibility_unavailable")) {
    for (const auto& request : desk.sim().record().requests) {
      EXPECT_EQ(request.element, "system-wide") << "asked the application for " << request.name;
    }
  }
  return answer;
}

TEST(Target, EachDesktopAnswersWithTheKeysThatSetItApart) {
  const std::string unavailable =
      R"({"target_mode":"unavailable","capture_reason":"focused_element_unavailable",)"
      R"("captureToken":null,"role":null})";
  // The field reports a selection it cannot hand over: the parent learns that there was one.
  const std::string selectionError =
      R"({"target_mode":"focused","selection_error":true,"selection":null,"selection_source":null})";
  const std::string described = R"({"captureToken":null,"selection":null,"offset":6})";
  const std::string field = R"({"frontmost": 1, "apps": [{"pid": 1, "focused": "f", "tree": {)";
  // Three characters of the composer's draft are selected, but their text cannot be read.
  std::string composerSelection = worldFile("chat_composer_focused.json");
  composerSelection.replace(composerSelection.find("[5, 0]"), 6,
                            R"([0, 3], "errors": {"AXSelectedText": "cannot_complete"})");
  std::string limit;  // 20,000 bytes
  for (int i = 0; i < 10000; ++i) limit += "\xC3\xA9";
  const Row rows[] = {
      {"editor.json", described, false},
      {"editor.json", described, "true"},  // a "selection" that is no boolean counts as false
      {"editor.json", described, 1},
      {worldFile("editor.json").insert(1, R"("trusted": false, )"),
       R"({"target_mode":"unavailable","capture_reason":"accessibility_unavailable","role":null})"},
      // A focused element without a window has no window key; an unreadable number is 0.
      {field + R"("attributes": {"AXFocusedWindow": null}, "children": [{"id": "w", "children": [
         {"id": "f", "role": "AXTextField", "value": "x"}]}]}}]})",
       R"({"window":null,"role":"AXTextField","offset":1,"bundle":"","name":""})", false},
      {field + R"("children": [{"id": "w", "attributes": {"AXWindowNumber": "seven"},
         "children": [{"id": "f", "role": "AXTextField", "value": "x"}]}]}}]})",
       R"({"window":0})", false},
      {"text_marker.json", R"({"selection":"marked words","selection_source":"accessibility"})"},
      {"copy_route.json", R"({"selection":"copied text","selection_source":"copy"})"},
      {"copy_disabled.json", selectionError},
      {"copy_image_only.json", selectionError},
      {"copy_never_writes.json", selectionError},
      {"password.json", selectionError},
      // The limit is in bytes, not characters.
      {selectionOf(limit), R"({"selection":")" + limit + "\"}"},
      {selectionOf(limit + "x"), R"({"selection_error":true,"selection":null})"},
      // Text copied without a focused element is reported, but there is nothing to capture.
      {"copy_without_focus.json",
       R"({"capture_reason":"focused_element_unavailable","captureToken":null,)"
       R"("selection":"from the menu","selection_source":"copy"})"},
      {"chat_composer_search.json", R"({"target_mode":"composer","captureToken":null})", false},
      {"chat_unfocused.json", R"({"target_mode":"composer","selection":null,"length":0})"},
      {"chat_two_composers.json", unavailable},
      {"chat_window_paste.json", R"({"target_mode":"window_paste","role":"AXWindow"})"},
      // A composer's own selection is never reported, not even as one that cannot be read.
      {composerSelection, R"({"target_mode":"composer","length":3,"selection_error":null})"},
      // With the verification flag the opaque fixture hides its focus and skips the search.
      {"fixture_opaque.json", R"({"target_mode":"window_paste","role":"AXWindow"})", false, true},
      {"fixture_opaque.json", R"({"target_mode":"composer","identifier":"chatInput"})", false},
      {"slow.json", unavailable},
      {"hung.json", unavailable},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.world.substr(0, 60) + " " + wire({{"selection", row.selection}}) + " " +
                 row.keys);
    const JsonObject answer = capture(row);
    const std::optional<JsonValue> keys = parseJson(row.keys);
    ASSERT_TRUE(keys && keys->as<JsonObject>());
    for (const auto& [key, value] : *keys->as<JsonObject>()) {
      const auto found = answer.find(key);
      EXPECT_EQ(found == answer.end() ? "absent" : wire({{key, found->second}}),
                value == JsonValue(nullptr) ? "absent" : wire({{key, value}}));
    }
  }
}

}  // namespace
}  // namespace textport
