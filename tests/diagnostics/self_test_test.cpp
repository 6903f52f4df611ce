#include <gtest/gtest.h>

#include <sstream>

#include "platform/sim/sim_desktop.h"
#include "request/request_loop.h"

namespace textport {
namespace {

TEST(SelfTest, ReportsEveryRuleHoldingInAnyModeWithoutTouchingTheDesktop) {
  const std::string expected =
      "{\"differentCursorRejected\":true,\"differentPIDRejected\":true,"
      "\"missingTargetRejected\":true,\"same\":true}\n";
  const struct {
    std::vector<std::string> arguments;
    bool trusted;
  } setups[] = {
      {{"textport"}, true},
      {{"textport", "--daemon"}, true},
      {{"textport", "--daemon", "--verify-selection"}, true},
      {{"textport", "--verify-selection"}, false},
  };
  for (const auto& setup : setups) {
    sim::SimDesktop desktop;
    desktop.setTrusted(setup.trusted);
    Session session(desktop, setup.arguments);
    std::istringstream in("{\"action\":\"self_test\"}");
    std::ostringstream out;
    serve(in, out, session);
    EXPECT_EQ(out.str(), expected) << setup.arguments.size() << " arguments";
    EXPECT_TRUE(desktop.record().requests.empty());
    EXPECT_EQ(desktop.changeCount(), 0);
  }
}

}  // namespace
}  // namespace textport
