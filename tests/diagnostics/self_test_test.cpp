#include <gtest/gtest.h>

#include "diagnostics/diagnostics.h"
#include "platform/sim/sim_desktop.h"

namespace textport {
namespace {

// The answer in every mode, trusted or not, is covered by the request loop's tests.
TEST(SelfTest, ReportsEveryRuleHoldingWithoutTouchingTheDesktop) {
  sim::SimDesktop desktop;
  Session session(desktop, {"textport"});
  EXPECT_EQ(selfTest(session, {{"action", "self_test"}}),
            (JsonObject{{"same", true},
                        {"differentPIDRejected", true},
                        {"differentCursorRejected", true},
                        {"missingTargetRejected", true}}));
  EXPECT_TRUE(desktop.record().requests.empty());
  EXPECT_EQ(desktop.changeCount(), 0);
}

}  // namespace
}  // namespace textport
