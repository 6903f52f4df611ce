// The diagnostic actions behind --verify-selection: the clipboard and copy probes, inspecting an
// application and driving a fixture application. Their gate without the flag is proven by the
// request loop's tests.
#include "diagnostics/diagnostics.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::pasteboardText;
using testing::wire;

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};
const JsonObject kOk{{"ok", true}};
constexpr const char* kUserPasteboard =
    R"([[{"type": "public.utf8-plain-text", "text": "mine"}], [{"type": "x.private", "hex": "01"}]])";

// An editor whose Copy menu item copies the selection of its one field.
std::string editorWorld(const std::string& pasteboard = kUserPasteboard,
                        const std::string& selection = "[0, 0]") {
  return R"({"frontmost": 501, "pasteboard": )" + pasteboard + R"(, "apps": [
    {"pid": 501, "bundle": "com.example.editor", "name": "Editor", "focused": "field",
     "tree": {"children": [{"id": "w", "role": "AXWindow", "children": [
       {"id": "field", "role": "AXTextArea", "value": "abc", "selected_range": )" +
         selection + R"(}]}]},
     "menu_bar": {"id": "bar", "children": [{"id": "edit", "role": "AXMenuBarItem", "children": [{
       "id": "copy", "role": "AXMenuItem", "cmd_char": "C", "enabled": true, "copies": true}]}]}}]})";
}

// One pasteboard item holding the text and the marker type's bytes, as hex.
std::string marker(const std::string& text, const std::string& hex) {
  return R"({"type": "public.utf8-plain-text", "text": ")" + text +
         R"("}, {"type": "app.tamsel.synthetic", "hex": ")" + hex + R"("})";
}

JsonObject clipboardProbe(Desk& desk, JsonValue mode) {
  return probeClipboard(desk.session, {{"action", "probe_clipboard"}, {"mode", std::move(mode)}});
}

TEST(ProbeClipboard, BeginCheckRestoreBringsBackWhatTheLastBeginSavedOnce) {
  Desk desk(editorWorld(), kVerify);
  const std::string before = pasteboardText(desk.sim());
  EXPECT_EQ(clipboardProbe(desk, "begin"), kOk);
  EXPECT_EQ(pasteboardText(desk.sim()),
            "[public.utf8-plain-text=synthetic-sentinel;app.tamsel.synthetic=\x01\x02\x03;]");
  EXPECT_EQ(clipboardProbe(desk, "check"), kOk);
  EXPECT_EQ(clipboardProbe(desk, "restore"), kOk);
  EXPECT_EQ(pasteboardText(desk.sim()), before);
  // Nothing is saved any more: a second restore leaves the pasteboard alone.
  const auto writes = desk.sim().record().writesBy("textport");
  EXPECT_EQ(clipboardProbe(desk, "restore"), kOk);
  EXPECT_EQ(desk.sim().record().writesBy("textport"), writes);
  // A second begin saves the marker over what the first saved.
  clipboardProbe(desk, "begin");
  const std::string marked = pasteboardText(desk.sim());
  clipboardProbe(desk, "begin");
  clipboardProbe(desk, "restore");
  EXPECT_EQ(pasteboardText(desk.sim()), marked);
}

TEST(ProbeClipboard, CheckWantsTheWholeMarker) {
  const struct {
    const char* rule;
    std::string pasteboard;
    bool ok;
  } cases[] = {
      {"the complete marker", "[[" + marker("synthetic-sentinel", "010203") + "]]", true},
      {"the marker type missing",
       R"([[{"type": "public.utf8-plain-text", "text": "synthetic-sentinel"}]])", false},
      {"the bytes cut short", "[[" + marker("synthetic-sentinel", "0102") + "]]", false},
      {"a byte too many", "[[" + marker("synthetic-sentinel", "01020304") + "]]", false},
      {"another text", "[[" + marker("synthetic-sentinel ", "010203") + "]]", false},
      {"an empty pasteboard", "[]", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(editorWorld(c.pasteboard), kVerify);
    EXPECT_EQ(clipboardProbe(desk, "check"), (JsonObject{{"ok", c.ok}}));
    EXPECT_EQ(desk.sim().record().writesBy("textport"), 0u);
  }
}

TEST(ProbeClipboard, RefusesUnknownModes) {
  Desk desk(editorWorld(), kVerify);
  for (const JsonValue& mode : {JsonValue("Begin"), JsonValue(""), JsonValue(1), JsonValue()}) {
    EXPECT_EQ(clipboardProbe(desk, mode), errorAnswer("Invalid probe"));
  }
}

TEST(ProbeCopySelection, CopiesTheFrontmostSelectionUnlessItIsKnownEmpty) {
  const JsonObject request{{"action", "probe_copy_selection"}};
  for (bool selected : {false, true}) {
    Desk desk(editorWorld(kUserPasteboard, selected ? "[1, 2]" : "[0, 0]"), kVerify);
    const std::string before = pasteboardText(desk.sim());
    EXPECT_EQ(probeCopySelection(desk.session, request),
              (JsonObject{{"pid", 501}, {"text", selected ? "bc" : ""}}));
    // The user's clipboard comes back; an empty selection is not even copied.
    EXPECT_EQ(pasteboardText(desk.sim()), before);
    EXPECT_EQ(desk.sim().record().pasteboardWrites.empty(), !selected);
  }
  Desk nobody(R"({"frontmost": null})", kVerify);
  EXPECT_EQ(probeCopySelection(nobody.session, request), errorAnswer("No fixture"));
}

// A window with three groups of forty elements each: 124 elements, more than are listed. Each
// grandchild's x position says which group and place it has, so the order shows in the rects;
// the second one's children cannot be read.
std::string bigWindowWorld(const std::string& appExtra = "", int frontmost = 900) {
  nlohmann::json groups;
  for (int g = 0; g < 3; ++g) {
    groups[g]["id"] = "g" + std::to_string(g);
    for (int i = 0; i < 40; ++i) {
      groups[g]["children"][i] = {{"id", "n" + std::to_string(g * 100 + i)},
                                  {"role", "AXStaticText"},
                                  {"frame", {g * 100 + i, 0, 5, 5}}};
    }
  }
  groups[0]["children"][1]["errors"] = {{"AXChildren", -25205}};
  return R"({"frontmost": )" + std::to_string(frontmost) + R"(, "apps": [
    {"pid": 900, "bundle": "app.tamsel.fixturecomposer", "name": "Fixture", "tree": {)" +
         appExtra + R"("children": [
      {"id": "w", "role": "AXWindow", "frame": [10, 20, 800, 600], "children": )" +
         groups.dump() + R"(}]}},
    {"pid": 901, "bundle": "com.example.other", "name": "Other"}]})";
}

JsonObject inspect(Desk& desk, JsonValue pid) {
  return inspectApp(desk.session, {{"action", "inspect_app"}, {"pid", std::move(pid)}});
}

TEST(InspectApp, ListsAtMostOneHundredElementsBreadthFirst) {
  Desk desk(bigWindowWorld(), kVerify);
  const JsonObject answer = inspect(desk, 900);
  const auto& nodes = std::get<JsonArray>(answer.at("nodes").data);
  ASSERT_EQ(nodes.size(), 100u);
  EXPECT_EQ(wire(std::get<JsonObject>(nodes[0].data)),
            R"({"children":3,"rect":[10,20,800,600],"role":"AXWindow"})");
  for (std::size_t k = 1; k < 4; ++k) {
    EXPECT_EQ(wire(std::get<JsonObject>(nodes[k].data)), R"({"children":40,"role":"AXGroup"})");
  }
  // Then the grandchildren in order: group 0's forty, then group 1's first fifty-six. A leaf
  // lists no children; one whose children cannot be read has no count at all.
  for (std::size_t k = 4; k < 100; ++k) {
    const std::size_t i = k - 4;
    EXPECT_EQ(wire(std::get<JsonObject>(nodes[k].data)),
              R"({)" + std::string(i == 1 ? "" : R"("children":0,)") + R"("rect":[)" +
                  std::to_string((i / 40) * 100 + i % 40) + R"(,0,5,5],"role":"AXStaticText"})");
  }
  // The target mode is only read for the frontmost application.
  EXPECT_EQ(answer.at("target_mode"), JsonValue("unavailable"));
  Desk behind(bigWindowWorld("", 901), kVerify);
  EXPECT_EQ(inspect(behind, 900).at("target_mode"), JsonValue(""));
}

TEST(InspectApp, WithoutAFocusedWindowTheOtherKeysAreStillFilled) {
  Desk desk(bigWindowWorld(R"("errors": {"AXFocusedWindow": -25212}, )"), kVerify);
  EXPECT_EQ(
      wire(inspect(desk, 900)),
      R"({"after_role":"","before_role":"","composer":false,"enable_results":{"AXEnhancedUserInterface":0,"AXManualAccessibility":0},"nodes":[],"target_mode":"unavailable","trusted":true,"window":false})");
}

TEST(InspectApp, RefusesAPidThatIsNoThirtyTwoBitInteger) {
  Desk desk(bigWindowWorld(), kVerify);
  for (const JsonValue& pid : {JsonValue("900"), JsonValue(9.5), JsonValue(nullptr),
                               JsonValue(std::int64_t{900} + (std::int64_t{1} << 32))}) {
    EXPECT_EQ(inspect(desk, pid), errorAnswer("Diagnostic only"));
    EXPECT_TRUE(desk.sim().record().requests.empty());
  }
}

// The frontmost application with `bundle` (none when empty) and one window, with bounds and a
// composer unless told otherwise; the key counter about to wrap.
std::string fixtureWorld(const std::string& bundle = "app.tamsel.fixtureambiguous",
                         bool bounds = true, bool composer = true) {
  const std::string composerJson =
      R"({"id": "c", "role": "AXTextArea", "value": "typed", "frame": [100, 400, 800, 200]})";
  return R"({"frontmost": 900, "pointer": [5, 6], "counters": {"key_down": 4294967295},
    "apps": [{"pid": 900, "name": "Fixture", )" +
         (bundle.empty() ? "" : R"("bundle": ")" + bundle + R"(", )") +
         R"("tree": {"children": [{"id": "w", "role": "AXWindow", )" +
         (bounds ? R"("frame": [100, 50, 800, 600], )" : "") + R"("children": [)" +
         (composer ? composerJson : "") + "]}]}}]}";
}

JsonObject fixtureProbe(Desk& desk, JsonValue mode) {
  return probeFixture(desk.session, {{"action", "probe_fixture"}, {"mode", std::move(mode)}});
}

// The posted events as "type key flags" or "type [x,y]", one per line.
std::string postedEvents(const Desk& desk) {
  std::string out;
  const nlohmann::json state = nlohmann::json::parse(desk.desktop->stateJson());
  for (const auto& e : state["posted_events"]) {
    out += e["type"].get<std::string>() + " " +
           (e.contains("key_code") ? e["key_code"].dump() + " " + e["flags"].dump()
                                   : e["location"].dump()) +
           "\n";
  }
  return out;
}

// Only a frontmost fixture application is driven.
TEST(ProbeFixture, AnswersEachModeWithItsExactEventsOrSaysWhatIsMissing) {
  // fn held around a space press: the key counter, about to wrap, moves by the space alone.
  const char* fnChord =
      "flags_changed 63 8388608\nkey_down 49 8388608\nkey_up 49 8388608\nflags_changed 63 0\n";
  const struct {
    const char* rule;
    std::string world;
    JsonValue mode;
    JsonObject answer;
    const char* events = "";
    double wait = 0;  // the last pause, if any
    bool pointerUnknown = false;
  } cases[] = {
      {"read gives the composer's text", fixtureWorld(), "read", {{"text", "typed"}}},
      {"fn chord, wrapping", fixtureWorld(), "fn_chord_count", {{"delta", 1}}, fnChord, 0.15},
      {"left arrow, no flags", fixtureWorld(), "key", kOk, "key_down 123 0\nkey_up 123 0\n", 0.08},
      {"a click in the window, the pointer put back", fixtureWorld(), "mouse", kOk,
       "left_mouse_down [160.0,150.0]\nleft_mouse_up [160.0,150.0]\nmouse_moved [5.0,6.0]\n", 0.08},
      {"a click where the pointer cannot be read leaves it alone", fixtureWorld(), "mouse", kOk,
       "left_mouse_down [160.0,150.0]\nleft_mouse_up [160.0,150.0]\n", 0.08, true},
      {"another app", fixtureWorld("com.tencent.xinWeChat"), "key", errorAnswer("Fixture only")},
      {"an application without a bundle", fixtureWorld(""), "mouse", errorAnswer("Fixture only")},
      {"no frontmost application", R"({"frontmost": null})", "read", errorAnswer("Fixture only")},
      {"read without a composer", fixtureWorld("app.tamsel.fixturecomposer", true, false), "read",
       errorAnswer("Invalid fixture request")},
      {"a missing mode", fixtureWorld(), nullptr, errorAnswer("Invalid fixture request")},
      {"a mode in other case", fixtureWorld(), "Key", errorAnswer("Invalid fixture request")},
      {"a window read that fails",
       R"({"frontmost": 900, "apps": [{"pid": 900, "bundle": "app.tamsel.fixtureopaque",
           "tree": {"errors": {"AXFocusedWindow": -25204}}}]})",
       "key", errorAnswer("Missing fixture window")},
      {"a window without bounds", fixtureWorld("app.tamsel.fixtureopaque", false), "mouse",
       errorAnswer("No fixture bounds")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(c.world, kVerify);
    desk.sim().input().failures().pointer = c.pointerUnknown;
    EXPECT_EQ(fixtureProbe(desk, c.mode), c.answer);
    EXPECT_EQ(postedEvents(desk), c.events);
    if (c.wait > 0) {
      ASSERT_FALSE(desk.sim().record().waits.empty());
      EXPECT_EQ(desk.sim().record().waits.back().seconds, c.wait);
    }
  }
}

}  // namespace
}  // namespace textport
