// Request bytes in, answer bytes out, through the real loop over a simulated desktop.
#include "request/request_loop.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/desk.h"

namespace textport {
namespace {

using namespace std::string_literals;

const std::string kSelfTest = R"({"differentCursorRejected":true,"differentPIDRejected":true,)"
                              R"("missingTargetRejected":true,"same":true})"
                              "\n";
const std::string kInvalid = "{\"error\":\"invalid request\"}\n";
const std::string kUnknown = "{\"error\":\"unknown action\"}\n";
const std::string kTrusted = "{\"accessibility\":true}\n";
const std::string kDiagnostic = "{\"error\":\"Diagnostic only\"}\n";

// Daemon mode on an empty desktop unless the mode says otherwise; "verifying" adds the flag
// and puts the fixture application in front, so that the fixture probe passes its own checks.
enum Mode { daemon, oneShot, untrusted, verifying };
constexpr const char* kWorlds[] = {
    "{}", "{}", R"({"trusted": false})",
    R"({"frontmost": 42, "apps": [{"pid": 42, "bundle": "app.tamsel.fixturecomposer"}]})"};

struct Case {
  const char* behaviour;
  Mode mode;
  std::string input, output;
};

std::string serveOn(testing::Desk& desk, const std::string& input) {
  std::istringstream in(input);
  std::ostringstream out;
  serve(in, out, desk.session);
  return out.str();
}

void expectAnswers(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    std::vector<std::string> arguments{"textport", "--daemon", "--verify-selection"};
    arguments.resize(c.mode == oneShot ? 1 : c.mode == verifying ? 3 : 2);
    testing::Desk desk(kWorlds[c.mode], arguments);
    EXPECT_EQ(serveOn(desk, c.input), c.output) << c.behaviour;
  }
}

TEST(RequestLoop, AnswersWhatIsNotAJsonObjectAsAnInvalidRequest) {
  expectAnswers({
      {"empty and blank lines", daemon, "\n \t \n", kInvalid + kInvalid},
      {"bare scalars", daemon, "42\n\"self_test\"\nnull\n", kInvalid + kInvalid + kInvalid},
      {"trailing garbage or NUL after the object", daemon,
       "{\"action\":\"self_test\"} x\n{\"action\":\"self_test\"}\0\n"s, kInvalid + kInvalid},
      {"invalid UTF-8 outside strings", daemon, "{\"action\":\"self_test\"}\xFF\n", kInvalid},
      {"NUL inside a string", daemon, "{\"action\":\"self\0test\"}\n"s, kInvalid},
      {"nesting a million deep", daemon, std::string(1'000'000, '[') + "\n", kInvalid},
      {"a number past double range", daemon, "{\"action\":\"self_test\",\"n\":1e999}\n", kInvalid},
      {"one-shot: invalid UTF-8 in a string is not repaired", oneShot,
       "{\"action\":\"self_test\",\"x\":\"\xC0\"}", kInvalid},
      {"daemon: invalid UTF-8 in a string is repaired", daemon,
       "{\"action\":\"self_test\",\"x\":\"\xC0\xAF\xF0\x9F\"}\n", kSelfTest},
      {"an integer past 64 bits", daemon,
       "{\"action\":\"self_test\",\"n\":123456789012345678901234567890}\n", kSelfTest},
      {"one-shot: byte order mark", oneShot, "\xEF\xBB\xBF{\"action\":\"self_test\"}", kSelfTest},
  });
}

TEST(RequestLoop, DispatchesByExactNameThroughTheGates) {
  expectAnswers({
      {"deliver without permission, with nothing else", untrusted, R"({"action":"deliver"})",
       "{\"error\":\"需要辅助功能权限 \\/ Accessibility permission required\"}\n"},
      {"permissions as data", untrusted, R"({"action":"permissions"})",
       "{\"accessibility\":false}\n"},
      {"self test needs nothing", untrusted, R"({"action":"self_test"})", kSelfTest},
      {"diagnostics and the fixture probe need the flag", daemon,
       "{\"action\":\"probe_clipboard\"}\n{\"action\":\"probe_copy_selection\"}\n"
       "{\"action\":\"inspect_app\",\"pid\":1}\n{\"action\":\"probe_fixture\"}",
       kDiagnostic + kDiagnostic + kDiagnostic + "{\"error\":\"Fixture only\"}\n"},
      {"open gates hand each request to its own action", verifying,
       "{\"action\":\"probe_clipboard\"}\n{\"action\":\"probe_copy_selection\"}\n"
       "{\"action\":\"inspect_app\",\"pid\":42}\n{\"action\":\"probe_fixture\"}\n"
       "{\"action\":\"deliver\"}",
       "{\"error\":\"Invalid probe\"}\n{\"pid\":42,\"text\":\"\"}\n"
       R"({"after_role":"","before_role":"","composer":false,"enable_results":)"
       R"({"AXEnhancedUserInterface":0,"AXManualAccessibility":0},"nodes":[],)"
       R"("target_mode":"unavailable","trusted":true,"window":false})"
       "\n{\"error\":\"Missing fixture window\"}\n{\"error\":\"missing target\"}\n"},
      {"names are exact; a missing or non-string action is unknown", daemon,
       "{\"action\":\"Copy\"}\n{\"action\":\"copy \"}\n{}\n{\"action\":5}\n{\"action\":null}",
       kUnknown + kUnknown + kUnknown + kUnknown + kUnknown},
      {"the last of duplicate keys wins", daemon, R"({"action":"Copy","action":"permissions"})",
       kTrusted},
  });
}

TEST(RequestLoop, FramesOneAnswerLinePerInputLine) {
  const std::string big = "{\"action\":\"copy\",\"text\":\"" + std::string(2 << 20, 'x') + "\"}";
  expectAnswers({
      {"CRLF", daemon, "{\"action\":\"permissions\"}\r\n", kTrusted},
      {"a multi-megabyte line", daemon, big + "\n{}", "{\"status\":\"copied\"}\n" + kUnknown},
      {"no input, no answer", daemon, "", ""},
      {"one-shot: one request over several lines", oneShot,
       "{\n \"action\": \"permissions\"\r\n}\n", kTrusted},
  });
}

// The middle line is empty and the last one has no line feed.
TEST(RequestLoop, AnswersAndOpensARequestScopeForEveryLineAndSelfTestTouchesNothing) {
  testing::Desk desk("{}", {"textport", "--daemon"});
  EXPECT_EQ(serveOn(desk, "{\"action\":\"self_test\"}\n\n{}"), kSelfTest + kInvalid + kUnknown);
  EXPECT_EQ(desk.sim().requestsStarted(), 3u);
  EXPECT_TRUE(desk.sim().record().requests.empty());
  EXPECT_EQ(desk.sim().changeCount(), 0);
}

// A desktop whose permission check fails in a way no rule foresees.
struct ThrowingDesktop : sim::SimDesktop {
  bool isProcessTrusted() override { throw std::runtime_error("the desktop went away"); }
};

TEST(RequestLoop, AnExceptionInAnActionIsAnAnswerAndTheLoopGoesOnWithBalancedScopes) {
  ThrowingDesktop desktop;
  Session session(desktop, {"textport", "--daemon"});
  std::istringstream in("{\"action\":\"permissions\"}\n{\"action\":\"self_test\"}\n");
  std::ostringstream out;
  serve(in, out, session);
  EXPECT_EQ(out.str(), "{\"error\":\"internal error\"}\n" + kSelfTest);
  EXPECT_EQ(desktop.requestsStarted(), 2u);
  EXPECT_EQ(desktop.requestsEnded(), 2u);
}

}  // namespace
}  // namespace textport
