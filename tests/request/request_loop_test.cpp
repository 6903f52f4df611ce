// Request bytes in, answer bytes out, through the real loop over an empty simulated desktop.
#include "request/request_loop.h"

#include <gtest/gtest.h>

#include <sstream>

#include "platform/sim/sim_desktop.h"

namespace textport {
namespace {

const std::string kSelfTest = R"({"differentCursorRejected":true,"differentPIDRejected":true,)"
                              R"("missingTargetRejected":true,"same":true})"
                              "\n";
const std::string kInvalid = "{\"error\":\"invalid request\"}\n";
const std::string kUnknown = "{\"error\":\"unknown action\"}\n";
const std::string kTrusted = "{\"accessibility\":true}\n";

enum Mode { daemon, oneShot, untrusted };

std::string serveWith(Mode mode, const std::string& input, std::uint64_t* requests = nullptr) {
  sim::SimDesktop desktop;
  desktop.setTrusted(mode != untrusted);
  Session session(desktop, mode == oneShot ? std::vector<std::string>{"textport"}
                                           : std::vector<std::string>{"textport", "--daemon"});
  std::istringstream in(input);
  std::ostringstream out;
  serve(in, out, session);
  if (requests != nullptr) *requests = desktop.requestsStarted();
  return out.str();
}

struct Case {
  const char* behaviour;
  Mode mode;
  std::string input, output;
};

void expectAnswers(const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_EQ(serveWith(c.mode, c.input), c.output) << c.behaviour;
}

TEST(RequestLoop, AnswersWhatIsNotAJsonObjectAsAnInvalidRequest) {
  using namespace std::string_literals;
  expectAnswers({
      {"empty line", daemon, "\n", kInvalid},
      {"white space", daemon, " \t \n", kInvalid},
      {"bare scalars", daemon, "42\n\"self_test\"\nnull\n", kInvalid + kInvalid + kInvalid},
      {"top-level array", daemon, "[{\"action\":\"self_test\"}]\n", kInvalid},
      {"trailing garbage", daemon, "{\"action\":\"self_test\"} x\n", kInvalid},
      {"invalid UTF-8 outside strings", daemon, "{\"action\":\"self_test\"}\xFF\n", kInvalid},
      {"NUL after the object", daemon, "{\"action\":\"self_test\"}\0\n"s, kInvalid},
      {"NUL inside a string", daemon, "{\"action\":\"self\0test\"}\n"s, kInvalid},
      {"nesting a million deep", daemon, std::string(1'000'000, '[') + "\n", kInvalid},
      {"a number past double range", daemon, "{\"action\":\"self_test\",\"n\":1e999}\n", kInvalid},
      {"one-shot: empty input", oneShot, "", kInvalid},
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
  const std::string diagnostic = "{\"error\":\"Diagnostic only\"}\n";
  expectAnswers({
      {"deliver without permission, with nothing else", untrusted, R"({"action":"deliver"})",
       "{\"error\":\"需要辅助功能权限 \\/ Accessibility permission required\"}\n"},
      {"permissions as data", untrusted, R"({"action":"permissions"})",
       "{\"accessibility\":false}\n"},
      {"self test needs nothing", untrusted, R"({"action":"self_test"})", kSelfTest},
      {"diagnostics need the flag", daemon,
       R"({"action":"probe_clipboard"})"
       "\n"
       R"({"action":"probe_copy_selection"})"
       "\n"
       R"({"action":"inspect_app","pid":1})",
       diagnostic + diagnostic + diagnostic},
      {"the fixture probe too", daemon, R"({"action":"probe_fixture"})",
       "{\"error\":\"Fixture only\"}\n"},
      {"names are exact", daemon,
       "{\"action\":\"Copy\"}\n{\"action\":\"copy \"}\n{\"action\":\"\"}",
       kUnknown + kUnknown + kUnknown},
      {"action missing or not a string", daemon,
       "{}\n{\"action\":5}\n{\"action\":null}\n{\"action\":[\"copy\"]}",
       kUnknown + kUnknown + kUnknown + kUnknown},
      {"a mistyped value counts as missing", daemon, R"({"action":"copy","text":12})",
       "{\"error\":\"missing text\"}\n"},
      {"the last of duplicate keys wins", daemon, R"({"action":"Copy","action":"permissions"})",
       kTrusted},
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
      {"CRLF", daemon, "{\"action\":\"permissions\"}\r\n", kTrusted},
      {"last line without a line feed", daemon,
       "{\"action\":\"permissions\"}\n{\"action\":\"self_test\"}", kTrusted + kSelfTest},
      {"three lines, the middle one empty", daemon,
       "{\"action\":\"permissions\"}\n\n{\"action\":\"permissions\"}\n",
       kTrusted + kInvalid + kTrusted},
      {"no input, no answer", daemon, "", ""},
      {"one-shot: all of input is one request", oneShot,
       "{\"action\":\"permissions\"}\n{\"action\":\"permissions\"}\n", kInvalid},
      {"one-shot: one request over several lines", oneShot,
       "{\n \"action\": \"permissions\"\r\n}\n", kTrusted},
  });
}

TEST(RequestLoop, AnswersAMultiMegabyteLineAndOpensAScopeForEveryRequest) {
  std::uint64_t requests = 0;
  const std::string big = "{\"action\":\"copy\",\"text\":\"" + std::string(2 << 20, 'x') + "\"}";
  EXPECT_EQ(serveWith(daemon, big + "\n\n{}", &requests),
            "{\"status\":\"copied\"}\n" + kInvalid + kUnknown);
  EXPECT_EQ(requests, 3u);
}

}  // namespace
}  // namespace textport
