// Which application is frontmost. Scenarios show the other element helpers: whose focused element
// is taken (only the system-wide fallback is compared with the application's process), how the
// selected text is read (the attribute, else text markers, else Copy) and when an element has a
// rectangle; the target tests' capture budget holds the focus fallback's short timeout.
#include "accessibility/element_helpers.h"

#include <gtest/gtest.h>

#include "support/desk.h"

namespace textport {
namespace {

using testing::Desk;

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
