// The whole process, through the textport-sim binary and a shell pipeline: exit status, a
// silent standard error, a parent that stops reading, and the tool's own options and world-file
// errors. The scenario files prove the modes the arguments select and the tool's state file.
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

// Runs a bash pipeline, in which $SIM is the binary, in a fresh scratch folder
// where the pipeline leaves the files out, err and status.
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

// Which arguments select which mode, a tool without a world and the status 0 of every other run
// are proven by scenario files.
TEST(Process, ToolErrorsExitWithTwoAndSayWhyOnStandardErrorAlone) {
  const std::string two = R"({"action":"permissions"}\n{"action":"self_test"}\n)";
  const std::string usage = "\nusage: textport-sim [--world FILE] [--state-out FILE] [ARGS...]\n";
  const struct {
    std::string arguments, input, out, err, status;
  } cases[] = {
      {"--world", "", "", "textport-sim: --world needs a file name" + usage, "2"},
      {"--state-out=", "", "", "textport-sim: --state-out needs a file name" + usage, "2"},
      {"--world a --world=b", "", "", "textport-sim: --world given twice" + usage, "2"},
      {"--world none.json", "", "", "textport-sim: cannot read the world file none.json\n", "2"},
      {"--world bad.json", two, "", "textport-sim: bad.json: apps[0].pid: expected an integer\n",
       "2"},
  };
  for (const auto& c : cases) {
    const Outcome o =
        runPipeline(R"(echo '{"apps": [{"pid": "one"}]}' >bad.json; printf ')" + c.input +
                    "' | \"$SIM\" " + c.arguments + " >out 2>err; echo -n $? >status");
    EXPECT_EQ(o.out, c.out) << c.arguments << " / " << c.input;
    EXPECT_EQ(o.err, c.err) << c.arguments;
    EXPECT_EQ(o.status, c.status) << c.arguments;
  }
}

TEST(Process, ParentClosingTheOutputEndsTheProcessQuietlyWithStatusZero) {
  // head takes one answer and exits; more answers than the pipe holds must then
  // fail.
  const Outcome o = runPipeline(
      R"(request='{"action":"self_test"}';)"
      R"( yes "$request" | head -n 5000)"
      R"( | "$SIM" --daemon 2>err | head -n 1 >out; echo -n "${PIPESTATUS[2]}" >status)");
  EXPECT_EQ(o.out.substr(0, 12), "{\"differentC");
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(o.status, "0");
}

}  // namespace
