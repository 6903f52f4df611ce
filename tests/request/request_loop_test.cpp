#include "request/request_loop.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "platform/sim/sim_desktop.h"

namespace textport {
namespace {

constexpr const char* kSelfTestAnswer =
    "{\"differentCursorRejected\":true,\"differentPIDRejected\":true,"
    "\"missingTargetRejected\":true,\"same\":true}\n";
constexpr const char* kInvalid = "{\"error\":\"invalid request\"}\n";
constexpr const char* kUnknown = "{\"error\":\"unknown action\"}\n";
constexpr const char* kTrusted = "{\"accessibility\":true}\n";

struct Launch {
  std::vector<std::string> arguments;
  bool trusted = true;
};
const Launch kDaemon{{"textport", "--daemon"}};
const Launch kOneShot{{"textport"}};

struct Served {
  std::string output;
  std::uint64_t requests;
};

Served serveWith(const Launch& launch, const std::string& input) {
  sim::SimDesktop desktop;
  desktop.setTrusted(launch.trusted);
  Session session(desktop, launch.arguments);
  std::istringstream in(input);
  std::ostringstream out;
  serve(in, out, session);
  return {out.str(), desktop.requestsStarted()};
}

struct Case {
  const char* behaviour;
  const Launch& launch;
  std::string input;
  std::string output;
};

void expectAnswers(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(serveWith(c.launch, c.input).output, c.output) << c.behaviour;
  }
}

TEST(RequestLoop, AnswersEverythingThatIsNotAJsonObjectAsAnInvalidRequest) {
  const std::string deep(1'000'000, '[');
  expectAnswers({
      {"empty line", kDaemon, "\n", kInvalid},
      {"white space only", kDaemon, " \t \n", kInvalid},
      {"bare number", kDaemon, "42\n", kInvalid},
      {"bare string", kDaemon, "\"self_test\"\n", kInvalid},
      {"null", kDaemon, "null\n", kInvalid},
      {"top-level array", kDaemon, "[{\"action\":\"self_test\"}]\n", kInvalid},
      {"broken JSON", kDaemon, "{\"action\":\"self_test\"\n", kInvalid},
      {"trailing garbage", kDaemon, "{\"action\":\"self_test\"} x\n", kInvalid},
      {"invalid UTF-8 outside strings", kDaemon, "{\"action\":\"self_test\"}\xFF\n", kInvalid},
      {"NUL after the object", kDaemon, std::string("{\"action\":\"self_test\"}\0\n", 24),
       kInvalid},
      {"NUL inside a string", kDaemon, std::string("{\"action\":\"self\0test\"}\n", 23), kInvalid},
      {"nesting a million deep", kDaemon, "{\"a\":" + deep + "\n", kInvalid},
      {"a number past double range", kDaemon, "{\"action\":\"self_test\",\"n\":1e999}\n", kInvalid},
      {"one-shot: empty input", kOneShot, "", kInvalid},
      {"one-shot: invalid UTF-8 inside a string is not repaired", kOneShot,
       "{\"action\":\"self_test\",\"x\":\"\xC0\"}", kInvalid},
  });
}

TEST(RequestLoop, ParsesWhatTheLineRepairAndTheNumberRulesLetThrough) {
  expectAnswers({
      {"daemon: invalid UTF-8 inside a string is repaired", kDaemon,
       "{\"action\":\"self_test\",\"x\":\"\xC0\xAF\xF0\x9F\"}\n", kSelfTestAnswer},
      {"an integer past 64 bits", kDaemon,
       "{\"action\":\"self_test\",\"n\":123456789012345678901234567890}\n", kSelfTestAnswer},
      {"one-shot: byte order mark", kOneShot, "\xEF\xBB\xBF{\"action\":\"self_test\"}",
       kSelfTestAnswer},
  });
}

TEST(RequestLoop, DispatchesByExactNameThroughTheGates) {
  const Launch untrusted{{"textport", "--daemon"}, false};
  expectAnswers({
      {"deliver without permission, even with nothing else", untrusted,
       "{\"action\":\"deliver\"}\n",
       "{\"error\":\"需要辅助功能权限 \\/ Accessibility permission required\"}\n"},
      {"permissions report as data", untrusted, "{\"action\":\"permissions\"}\n",
       "{\"accessibility\":false}\n"},
      {"self test needs no permission", untrusted, "{\"action\":\"self_test\"}\n", kSelfTestAnswer},
      {"diagnostics need the flag", kDaemon,
       "{\"action\":\"probe_clipboard\"}\n{\"action\":\"probe_copy_selection\"}\n"
       "{\"action\":\"inspect_app\",\"pid\":1}\n",
       "{\"error\":\"Diagnostic only\"}\n{\"error\":\"Diagnostic only\"}\n"
       "{\"error\":\"Diagnostic only\"}\n"},
      {"the fixture probe needs the flag", kDaemon, "{\"action\":\"probe_fixture\"}\n",
       "{\"error\":\"Fixture only\"}\n"},
      {"names are exact and case-sensitive", kDaemon,
       "{\"action\":\"Copy\"}\n{\"action\":\"copy \"}\n{\"action\":\"\"}\n",
       std::string(kUnknown) + kUnknown + kUnknown},
      {"action missing or not a string", kDaemon,
       "{}\n{\"action\":5}\n{\"action\":null}\n{\"action\":[\"copy\"]}\n",
       std::string(kUnknown) + kUnknown + kUnknown + kUnknown},
      {"a mistyped value counts as missing", kDaemon, "{\"action\":\"copy\",\"text\":12}\n",
       "{\"error\":\"missing text\"}\n"},
      {"the last of duplicate keys wins", kDaemon,
       "{\"action\":\"Copy\",\"action\":\"permissions\"}\n", kTrusted},
  });
}

TEST(RequestLoop, OpenGatesHandTheRequestToTheAction) {
  // A fixture application in front, so that the fixture probe's own checks pass too.
  sim::SimDesktop desktop;
  sim::SimApp fixture;
  fixture.pid = 42;
  fixture.bundle = "app.tamsel.fixturecomposer";
  desktop.world().apps.push_back(fixture);
  desktop.setFrontmost(42);
  Session session(desktop, {"textport", "--verify-selection"});
  for (const char* request :
       {R"({"action":"probe_clipboard"})", R"({"action":"probe_copy_selection"})",
        R"({"action":"inspect_app","pid":42})", R"({"action":"probe_fixture"})",
        R"({"action":"deliver"})"}) {
    const std::string answer = respond(session, request);
    EXPECT_EQ(answer.find(" only"), std::string::npos) << request << " -> " << answer;
    EXPECT_EQ(answer.find("Accessibility permission"), std::string::npos) << request;
  }
}

TEST(RequestLoop, FramesOneAnswerLinePerInputLine) {
  expectAnswers({
      {"CRLF line", kDaemon, "{\"action\":\"permissions\"}\r\n", kTrusted},
      {"last line without a line feed", kDaemon,
       "{\"action\":\"permissions\"}\n{\"action\":\"self_test\"}",
       std::string(kTrusted) + kSelfTestAnswer},
      {"three lines, the middle one empty", kDaemon,
       "{\"action\":\"permissions\"}\n\n{\"action\":\"permissions\"}\n",
       std::string(kTrusted) + kInvalid + kTrusted},
      {"no input, no answer", kDaemon, "", ""},
      {"one-shot: all of input is one request", kOneShot,
       "{\"action\":\"permissions\"}\n{\"action\":\"permissions\"}\n", kInvalid},
      {"one-shot: a request over several lines", kOneShot,
       "{\n  \"action\": \"permissions\"\r\n}\n", kTrusted},
  });
}

TEST(RequestLoop, AnswersAMultiMegabyteLineAndOpensAScopeForEveryRequest) {
  const std::string text(2 << 20, 'x');
  const Served served =
      serveWith(kDaemon, "{\"action\":\"copy\",\"text\":\"" + text + "\"}\n\n{\"action\":\"x\"}");
  EXPECT_EQ(served.output, std::string("{\"status\":\"copied\"}\n") + kInvalid + kUnknown);
  EXPECT_EQ(served.requests, 3u);
}

}  // namespace
}  // namespace textport
