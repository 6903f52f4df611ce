// The whole process, through the textport-sim binary and a shell pipeline: argument
// handling, exit status, a silent standard error, and a parent that stops reading.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct Outcome {
  std::string out, err, status;
};

// Runs a bash pipeline, in which $SIM is the binary, in a fresh scratch folder where the
// pipeline leaves the files out, err and status.
Outcome runPipeline(const std::string& pipeline) {
  std::string dir = ::testing::TempDir() + "textport-process-XXXXXX";
  if (mkdtemp(dir.data()) == nullptr) return {};
  dir += '/';
  std::ofstream(dir + "script.sh")
      << "SIM='" TEXTPORT_SIM_BINARY "'; cd '" + dir + "' && " + pipeline;
  if (std::system(("bash '" + dir + "script.sh'").c_str()) == -1) return {};
  const auto read = [&](const char* name) {
    std::stringstream s;
    s << std::ifstream(dir + name).rdbuf();
    return s.str();
  };
  Outcome outcome{read("out"), read("err"), read("status")};
  std::filesystem::remove_all(dir);
  return outcome;
}

TEST(Process, SelectsLineModeOnlyForAnExactDaemonArgumentAnywhere) {
  const std::string two = R"({"action":"permissions"}\n{"action":"self_test"}\n)";
  const std::string twoAnswers =
      "{\"accessibility\":true}\n{\"differentCursorRejected\":true,\"differentPIDRejected\":"
      "true,\"missingTargetRejected\":true,\"same\":true}\n";
  const std::string invalid = "{\"error\":\"invalid request\"}\n";
  const struct {
    std::string arguments, input, output;
  } cases[] = {
      {"--daemon", two, twoAnswers},
      {"--verify-selection --daemon", two, twoAnswers},
      {"--daemon --verify-selection", two, twoAnswers},
      {"", two, invalid},
      {"--daemonx", two, invalid},
      {"-daemon", two, invalid},
      {"", "", invalid},
  };
  for (const auto& c : cases) {
    const Outcome o = runPipeline("printf '" + c.input + "' | \"$SIM\" " + c.arguments +
                                  " >out 2>err; echo -n $? >status");
    EXPECT_EQ(o.out, c.output) << c.arguments << " / " << c.input;
    EXPECT_EQ(o.err, "") << c.arguments;
    EXPECT_EQ(o.status, "0") << c.arguments;
  }
}

TEST(Process, ParentClosingTheOutputEndsTheProcessQuietlyWithStatusZero) {
  // head takes one answer and exits; more answers than the pipe holds must then fail.
  const Outcome o = runPipeline(
      R"(request='{"action":"self_test"}';)"
      R"( yes "$request" | head -n 5000)"
      R"( | "$SIM" --daemon 2>err | head -n 1 >out; echo -n "${PIPESTATUS[2]}" >status)");
  EXPECT_EQ(o.out.substr(0, 12), "{\"differentC");
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(o.status, "0");
}

}  // namespace
