// The diagnostic actions behind --verify-selection: the copy probe, inspecting an application and
// the fixture probe's refusals. Their gate without the flag is proven by the request loop's
// tests; the clipboard probe and what the fixture probe posts are shown by scenario files.
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

// An editor whose Copy menu item copies the selection of its one field; the user's clipboard.
std::string editorWorld(const std::string& selection) {
  return R"({"frontmost": 501, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "mine"}],
    [{"type": "x.private", "hex": "01"}]], "apps": [
    {"pid": 501, "bundle": "com.example.editor", "name": "Editor", "focused": "field",
     "tree": {"children": [{"id": "w", "role": "AXWindow", "children": [
       {"id": "field", "role": "AXTextArea", "value": "abc", "selected_range": )" + selection +
         R"(}]}]},
     "menu_bar": {"id": "bar", "children": [{"id": "edit", "role": "AXMenuBarItem", "children": [{
       "id": "copy", "role": "AXMenuItem", "cmd_char": "C", "enabled": true, "copies": true}]}]}}]})";
}

TEST(ProbeCopySelection, CopiesTheFrontmostSelectionUnlessItIsKnownEmpty) {
  const JsonObject request{{"action", "probe_copy_selection"}};
  for (bool selected : {false, true}) {
    Desk desk(editorWorld(selected ? "[1, 2]" : "[0, 0]"), kVerify);
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
std::string bigWindowWorld(int frontmost = 900) {
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
    {"pid": 900, "bundle": "app.tamsel.fixturecomposer", "name": "Fixture", "tree": {"children": [
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
  Desk behind(bigWindowWorld(901), kVerify);
  EXPECT_EQ(inspect(behind, 900).at("target_mode"), JsonValue(""));
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
// composer unless told otherwise.
std::string fixtureWorld(const std::string& bundle = "app.tamsel.fixtureambiguous",
                         bool bounds = true, bool composer = true) {
  return R"({"frontmost": 900, "apps": [{"pid": 900, )" +
         (bundle.empty() ? "" : R"("bundle": ")" + bundle + R"(", )") +
         R"("tree": {"children": [{"id": "w", "role": "AXWindow", )" +
         (bounds ? R"("frame": [100, 50, 800, 600], )" : "") + R"("children": [)" +
         (composer ? R"({"id": "c", "role": "AXTextArea", "frame": [100, 400, 800, 200]})" : "") +
         "]}]}}]}";
}

JsonObject fixtureProbe(Desk& desk, JsonValue mode) {
  return probeFixture(desk.session, {{"action", "probe_fixture"}, {"mode", std::move(mode)}});
}

// What each mode does to a fixture application is shown by the fixture scenarios; here, each
// refusal and what it says is missing. Nothing is posted.
TEST(ProbeFixture, DrivesOnlyAFrontmostFixtureAndSaysWhatIsMissing) {
  const struct {
    const char* rule;
    std::string world;
    JsonValue mode;
    const char* error;
  } cases[] = {
      {"another app", fixtureWorld("com.tencent.xinWeChat"), "key", "Fixture only"},
      {"an application without a bundle", fixtureWorld(""), "mouse", "Fixture only"},
      {"no frontmost application", R"({"frontmost": null})", "read", "Fixture only"},
      {"read without a composer", fixtureWorld("app.tamsel.fixturecomposer", true, false), "read",
       "Invalid fixture request"},
      {"a missing mode", fixtureWorld(), nullptr, "Invalid fixture request"},
      {"a mode in other case", fixtureWorld(), "Key", "Invalid fixture request"},
      {"a window read that fails",
       R"({"frontmost": 900, "apps": [{"pid": 900, "bundle": "app.tamsel.fixtureopaque",
           "tree": {"errors": {"AXFocusedWindow": -25204}}}]})",
       "key", "Missing fixture window"},
      {"a window without bounds", fixtureWorld("app.tamsel.fixtureopaque", false), "mouse",
       "No fixture bounds"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    Desk desk(c.world, kVerify);
    EXPECT_EQ(fixtureProbe(desk, c.mode), errorAnswer(c.error));
    EXPECT_TRUE(desk.sim().postedEvents().empty());
  }
}

}  // namespace
}  // namespace textport
