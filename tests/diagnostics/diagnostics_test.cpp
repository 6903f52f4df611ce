// Inspecting an application behind --verify-selection. The gates without the flag, the copy
// probe, the clipboard probe and the fixture probe are proven by scenario files.
#include "diagnostics/diagnostics.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::wire;

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};

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

TEST(InspectApp, ListsAtMostOneHundredElementsBreadthFirstForAThirtyTwoBitPid) {
  Desk desk(bigWindowWorld(), kVerify);
  for (const JsonValue& pid : {JsonValue("900"), JsonValue(9.5), JsonValue(nullptr),
                               JsonValue(std::int64_t{900} + (std::int64_t{1} << 32))}) {
    EXPECT_EQ(inspect(desk, pid), errorAnswer("Diagnostic only"));
  }
  EXPECT_TRUE(desk.sim().record().requests.empty()) << "a refused pid asks nothing";
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

}  // namespace
}  // namespace textport
