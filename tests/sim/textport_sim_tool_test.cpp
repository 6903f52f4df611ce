// The textport-sim tool's own handling: its options, world-file errors and the state file.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

std::string temporary(const std::string& name) {
  return ::testing::TempDir() + "textport_sim_" + name;
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// Runs the tool through the shell with the input on standard input.
ToolRun runTool(const std::string& arguments, const std::string& input) {
  const std::string in = temporary("in"), err = temporary("err");
  writeFile(in, input);
  const std::string command =
      std::string(TEXTPORT_SIM_BINARY) + " " + arguments + " <" + in + " 2>" + err;
  ToolRun result;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    result.out.append(buffer, n);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.err = readFile(err);
  return result;
}

TEST(TextportSimTool, BadWorldIsAToolErrorOnStandardError) {
  const std::string world = temporary("bad.json");
  writeFile(world, R"({"apps": [{"pid": "one"}]})");
  const ToolRun r = runTool("--world " + world, "{\"action\": \"permissions\"}");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "textport-sim: " + world + ": apps[0].pid: expected an integer\n");
}

TEST(TextportSimTool, UsageErrorsExitWithTwo) {
  for (const char* arguments : {"--world", "--state-out=", "--world a --world=b"}) {
    const ToolRun r = runTool(arguments, "");
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_NE(r.err.find("usage: textport-sim"), std::string::npos) << arguments;
  }
  EXPECT_EQ(runTool("--world /nonexistent/w.json", "").status, 2);
}

TEST(TextportSimTool, ServesTheWorldAndWritesTheFinalState) {
  const std::string world = temporary("world.json"), state = temporary("state.json");
  writeFile(world, R"({"frontmost": 3, "apps": [{"pid": 3, "bundle": "b"}],
      "timeline": [{"at": 9, "pasteboard": [[{"type": "public.utf8-plain-text", "text": "late"}]]}]})");
  const ToolRun r =
      runTool("--daemon --world=" + world + " --state-out " + state,
              "{\"action\": \"permissions\"}\n{\"action\": \"copy\", \"text\": \"hi\"}\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 2);
  const std::string written = readFile(state);
  // The timeline was played to its end after input ended: its write is the last word.
  EXPECT_NE(written.find(R"("text": "late")"), std::string::npos) << written;
  EXPECT_NE(written.find(R"("time": 9.0)"), std::string::npos) << written;
}

TEST(TextportSimTool, WithoutAWorldTheDesktopIsEmpty) {
  const ToolRun r = runTool("", "{\"action\": \"target\"}");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "{}\n");
}

}  // namespace
