// Inspecting an application: the breadth-first listing of its focused window and the gate.
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/diagnostics.h"
#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;
using testing::wire;

const std::vector<std::string> kVerify = {"textport", "--verify-selection"};

// A window with three groups of forty elements each: 124 elements, more than are listed. Each
// grandchild's x position says which group and place it has, so the order shows in the rects.
std::string bigWindowWorld(bool withWindow, int frontmost = 900) {
  std::string groups;
  for (int g = 0; g < 3; ++g) {
    std::string leaves;
    for (int i = 0; i < 40; ++i) {
      if (i) leaves += ",";
      leaves += R"({"id": "n)" + std::to_string(g) + "-" + std::to_string(i) +
                R"(", "role": "AXStaticText", "frame": [)" + std::to_string(g * 100 + i) +
                ", 0, 5, 5]";
      if (g == 0 && i == 1) leaves += R"(, "errors": {"AXChildren": -25205})";
      leaves += "}";
    }
    if (g) groups += ",";
    groups += R"({"id": "g)" + std::to_string(g) + R"(", "children": [)" + leaves + "]}";
  }
  const std::string tree =
      (withWindow ? "" : R"("errors": {"AXFocusedWindow": -25212}, )") +
      std::string(
          R"("children": [{"id": "w", "role": "AXWindow", "frame": [10, 20, 800, 600], "children": [)") +
      groups + "]}]";
  return R"({"frontmost": )" + std::to_string(frontmost) + R"(, "apps": [
    {"pid": 900, "bundle": "app.tamsel.fixturecomposer", "name": "Fixture", "tree": {)" +
         tree + R"(}},
    {"pid": 901, "bundle": "com.example.other", "name": "Other"}]})";
}

JsonObject inspect(Desk& desk, JsonValue pid) {
  return inspectApp(desk.session, JsonObject{{"action", "inspect_app"}, {"pid", std::move(pid)}});
}

TEST(InspectApp, ListsAtMostOneHundredElementsBreadthFirst) {
  Desk desk(bigWindowWorld(true), kVerify);
  const JsonObject answer = inspect(desk, 900);
  const auto& nodes = std::get<JsonArray>(answer.at("nodes").data);
  ASSERT_EQ(nodes.size(), 100u);
  EXPECT_EQ(wire(std::get<JsonObject>(nodes[0].data)),
            R"({"children":3,"rect":[10,20,800,600],"role":"AXWindow"})");
  for (int g = 0; g < 3; ++g) {
    EXPECT_EQ(wire(std::get<JsonObject>(nodes[1 + g].data)), R"({"children":40,"role":"AXGroup"})");
  }
  // Then the grandchildren in order: group 0's forty, then group 1's first fifty-six.
  for (std::size_t k = 4; k < 100; ++k) {
    const auto& node = std::get<JsonObject>(nodes[k].data);
    const std::size_t index = k - 4;
    const double x = static_cast<double>((index / 40) * 100 + index % 40);
    EXPECT_EQ(std::get<JsonArray>(node.at("rect").data)[0], JsonValue(x)) << k;
    // A leaf lists no children; one whose children cannot be read has no count at all.
    EXPECT_EQ(node.count("children"), index == 1 ? 0u : 1u) << k;
    if (index != 1) {
      EXPECT_EQ(node.at("children"), JsonValue(0)) << k;
    }
  }
  EXPECT_EQ(answer.at("window"), JsonValue(true));
  EXPECT_EQ(answer.at("trusted"), JsonValue(true));
}

TEST(InspectApp, WithoutAFocusedWindowTheOtherKeysAreStillFilled) {
  Desk desk(bigWindowWorld(false), kVerify);
  EXPECT_EQ(
      wire(inspect(desk, 900)),
      R"({"after_role":"","before_role":"","composer":false,"enable_results":{"AXEnhancedUserInterface":0,"AXManualAccessibility":0},"nodes":[],"target_mode":"unavailable","trusted":true,"window":false})");
}

TEST(InspectApp, TargetModeOnlyForTheFrontmostApplication) {
  Desk desk(bigWindowWorld(true, 901), kVerify);
  EXPECT_EQ(inspect(desk, 900).at("target_mode"), JsonValue(""));
}

TEST(InspectApp, RefusesWithoutTheFlagOrAUsablePid) {
  {
    Desk desk(bigWindowWorld(true));
    EXPECT_EQ(inspect(desk, 900), errorAnswer("Diagnostic only"));
    EXPECT_TRUE(desk.sim().record().requests.empty());
  }
  for (const JsonValue& pid : {JsonValue("900"), JsonValue(9.5), JsonValue(nullptr),
                               JsonValue(std::int64_t{900} + (std::int64_t{1} << 32))}) {
    Desk desk(bigWindowWorld(true), kVerify);
    EXPECT_EQ(inspect(desk, pid), errorAnswer("Diagnostic only"));
    EXPECT_TRUE(desk.sim().record().requests.empty());
  }
}

}  // namespace
}  // namespace textport
