// The element helpers: rectangles and the frontmost application. Scenarios show whose focused
// element is taken (only the system-wide fallback is compared with the application's process) and
// how the selected text is read (the attribute, else text markers, else Copy); the target tests'
// capture budget holds the fallback's short timeout.
#include "accessibility/element_helpers.h"

#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

Element node(Pid pid, const char* id) {
  return sim::makeElement(sim::ElementKind::node, pid, id);
}

TEST(ElementRect, NeedsAPositionAndAPositiveSize) {
  struct Case {
    const char* attributes;
    std::optional<Rect> rect;
  };
  const Case cases[] = {
      {R"({"AXPosition": {"point": [-1440, -20]}, "AXSize": {"size": [300, 200]}})",
       Rect{{-1440, -20}, {300, 200}}},
      {R"({"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [0, 200]}})", std::nullopt},
      {R"({"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [300, -1]}})", std::nullopt},
      {R"({"AXPosition": {"point": [0, 0]}})", std::nullopt},
      {R"({"AXSize": {"size": [300, 200]}})", std::nullopt},
      {R"({"AXPosition": {"size": [0, 0]}, "AXSize": {"size": [300, 200]}})", std::nullopt},
      {R"({"AXPosition": [0, 0], "AXSize": {"size": [300, 200]}})", std::nullopt},
  };
  for (const Case& c : cases) {
    Desk desk(
        std::string(R"({"apps": [{"pid": 1, "tree": {"children": [{"id": "w", "attributes": )") +
        c.attributes + "}]}}]}");
    EXPECT_EQ(elementRect(desk.sim(), node(1, "w")), c.rect) << c.attributes;
  }
}

TEST(Frontmost, PrefersTheAccessibilityAnswerAndFallsBackToTheWorkspace) {
  Desk desk(R"({"frontmost": 2, "apps": [{"pid": 2}]})");
  EXPECT_EQ(frontmost(desk.sim())->pid, 2);
  // A process the workspace does not know: nothing, and the workspace is not asked.
  desk.sim().world().system.attributes["AXFocusedApplication"] =
      sim::makeElement(sim::ElementKind::application, 99);
  EXPECT_EQ(frontmost(desk.sim()), std::nullopt);
  EXPECT_TRUE(desk.sim().record().waits.empty());
  // No accessibility answer: a short run-loop turn, then the workspace.
  desk.sim().world().system.errors["AXFocusedApplication"] = kAXErrorCannotComplete;
  EXPECT_EQ(frontmost(desk.sim())->pid, 2);
  ASSERT_EQ(desk.sim().record().waits.size(), 1u);
  EXPECT_TRUE(desk.sim().record().waits[0].runLoop);
  EXPECT_DOUBLE_EQ(desk.sim().record().waits[0].seconds, 0.005);
}

}  // namespace
}  // namespace textport
