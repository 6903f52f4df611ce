// Request bytes in, answer bytes out, through the real loop over a simulated desktop.
#include "request/request_loop.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/desk.h"

namespace textport {
namespace {

const std::string kSelfTest = R"({"differentCursorRejected":true,"differentPIDRejected":true,)"
                              R"("missingTargetRejected":true,"same":true})"
                              "\n";
const std::string kInvalid = "{\"error\":\"invalid request\"}\n";

// What request lines a scenario file cannot hold: invalid UTF-8, a million brackets, megabytes.
// The rest of the framing and the dispatch are proven by the request scenario files.
TEST(RequestLoop, AnswersBytesNoScenarioCanHold) {
  const std::string big = "{\"action\":\"copy\",\"text\":\"" + std::string(2 << 20, 'x') + "\"}";
  const struct {
    const char* behaviour;
    bool daemon;
    std::string input, output;
  } cases[] = {
      {"invalid UTF-8 outside strings", true, "{\"action\":\"self_test\"}\xFF\n", kInvalid},
      {"daemon: invalid UTF-8 in a string is repaired", true,
       "{\"action\":\"self_test\",\"x\":\"\xC0\xAF\xF0\x9F\"}\n", kSelfTest},
      {"one-shot: invalid UTF-8 in a string is not repaired", false,
       "{\"action\":\"self_test\",\"x\":\"\xC0\"}", kInvalid},
      {"nesting a million deep", true, std::string(1'000'000, '[') + "\n", kInvalid},
      {"a multi-megabyte line", true, big + "\n{}",
       "{\"status\":\"copied\"}\n{\"error\":\"unknown action\"}\n"},
  };
  for (const auto& c : cases) {
    testing::Desk desk("{}", c.daemon ? std::vector<std::string>{"textport", "--daemon"}
                                      : std::vector<std::string>{"textport"});
    std::istringstream in(c.input);
    std::ostringstream out;
    serve(in, out, desk.session);
    EXPECT_EQ(out.str(), c.output) << c.behaviour;
  }
}

// A desktop whose permission check fails in a way no rule foresees.
struct ThrowingDesktop : sim::SimDesktop {
  bool isProcessTrusted() override { throw std::runtime_error("the desktop went away"); }
};

// Every line is answered inside a request scope of its own, also the empty middle line, the last
// one without a line feed and one whose action throws; the self test touches nothing.
TEST(RequestLoop, AnswersEveryLineInABalancedScopeAndGoesOnAfterAnException) {
  ThrowingDesktop desktop;
  Session session(desktop, {"textport", "--daemon"});
  std::istringstream in("{\"action\":\"permissions\"}\n{\"action\":\"self_test\"}\n\n{}");
  std::ostringstream out;
  serve(in, out, session);
  EXPECT_EQ(out.str(), "{\"error\":\"internal error\"}\n" + kSelfTest + kInvalid +
                           "{\"error\":\"unknown action\"}\n");
  EXPECT_EQ(desktop.requestsStarted(), 4u);
  EXPECT_EQ(desktop.requestsEnded(), 4u);
  EXPECT_TRUE(desktop.record().requests.empty());
  EXPECT_EQ(desktop.changeCount(), 0);
}

}  // namespace
}  // namespace textport
