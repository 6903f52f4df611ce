// Runs every scenario file under tests/scenarios/ through the textport-sim binary, the real
// request loop over a simulated desktop, and compares its answer lines and the final desktop
// state with what the scenario expects. The format is described in docs/scenario-format.md.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path& scenarioRoot() {
  static const fs::path root = fs::path(TEXTPORT_SOURCE_DIR) / "tests" / "scenarios";
  return root;
}

std::vector<fs::path> scenarioFiles() {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(scenarioRoot())) {
    if (entry.is_regular_file() && entry.path().extension() == ".json")
      files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void writeFile(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    result.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

// Empty when `actual` holds everything that `expected` lists, otherwise where and how they
// differ. Objects match on the keys the expectation names; arrays must have the same length and
// match element by element; anything else must be equal (1 and 1.0 are equal numbers).
std::string difference(const json& expected, const json& actual, const std::string& where) {
  if (expected.is_object()) {
    if (!actual.is_object()) return where + ": expected an object, found " + actual.dump();
    for (const auto& [key, value] : expected.items()) {
      const std::string inner = where + "." + key;
      if (!actual.contains(key)) return inner + ": missing in " + actual.dump();
      if (auto found = difference(value, actual.at(key), inner); !found.empty()) {
        return found;
      }
    }
    return "";
  }
  if (expected.is_array()) {
    if (!actual.is_array() || actual.size() != expected.size()) {
      return where + ": expected " + expected.dump() + ", found " + actual.dump();
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const std::string inner = where + "[" + std::to_string(i) + "]";
      if (auto found = difference(expected[i], actual[i], inner); !found.empty()) {
        return found;
      }
    }
    return "";
  }
  if (expected != actual)
    return where + ": expected " + expected.dump() + ", found " + actual.dump();
  return "";
}

struct Outcome {
  int exitStatus = -1;
  std::string output;
  std::string errors;
  std::string state;
};

// Runs the binary with stdin, stdout and stderr redirected to files in `dir`.
Outcome runSim(const std::vector<std::string>& arguments, const std::string& input,
               const fs::path& dir) {
  const fs::path in = dir / "input", out = dir / "output", err = dir / "errors";
  writeFile(in, input);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  Outcome outcome;
  pid_t child = 0;
  if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    waitpid(child, &status, 0);
    outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  posix_spawn_file_actions_destroy(&actions);
  outcome.output = readFile(out);
  outcome.errors = readFile(err);
  return outcome;
}

class Scenario : public testing::TestWithParam<fs::path> {};

TEST_P(Scenario, AnswersAndFinalStateAreAsListed) {
  const fs::path file = GetParam();
  json scenario;
  ASSERT_NO_THROW(scenario = json::parse(readFile(file))) << file;
  ASSERT_TRUE(scenario.is_object()) << file;
  static const std::set<std::string> known = {"description", "world",   "args",
                                              "requests",    "answers", "state"};
  for (const auto& [key, value] : scenario.items()) {
    ASSERT_TRUE(known.count(key)) << file << ": unknown key \"" << key << "\"";
  }
  ASSERT_TRUE(scenario.contains("requests") && scenario["requests"].is_array()) << file;
  ASSERT_TRUE(scenario.contains("answers") && scenario["answers"].is_array()) << file;

  const fs::path dir =
      fs::temp_directory_path() /
      ("textport-scenario-" + std::to_string(getpid()) + "-" + file.stem().string());
  fs::remove_all(dir);
  fs::create_directories(dir);

  std::vector<std::string> arguments = {TEXTPORT_SIM_BINARY};
  if (scenario.contains("world")) {
    const json& world = scenario["world"];
    if (world.is_string()) {
      arguments.push_back("--world=" + (file.parent_path() / world.get<std::string>()).string());
    } else {
      ASSERT_TRUE(world.is_object()) << file << ": \"world\" is an object or a path";
      writeFile(dir / "world.json", world.dump());
      arguments.push_back("--world=" + (dir / "world.json").string());
    }
  }
  const fs::path statePath = dir / "state.json";
  arguments.push_back("--state-out=" + statePath.string());
  for (const json& argument : scenario.value("args", json::array())) {
    ASSERT_TRUE(argument.is_string()) << file << ": arguments are strings";
    arguments.push_back(argument.get<std::string>());
  }

  // An object is sent as one compact line; a string is sent byte for byte, so malformed
  // requests can be written too.
  std::string input;
  for (const json& request : scenario["requests"]) {
    input += request.is_string() ? request.get<std::string>() : request.dump();
    input += '\n';
  }

  const Outcome outcome = runSim(arguments, input, dir);
  EXPECT_EQ(outcome.exitStatus, 0) << file;
  EXPECT_EQ(outcome.errors, "") << file;

  std::vector<std::string> expected;
  for (const json& answer : scenario["answers"]) {
    ASSERT_TRUE(answer.is_string()) << file << ": answers are the exact lines, as strings";
    expected.push_back(answer.get<std::string>());
  }
  EXPECT_EQ(lines(outcome.output), expected) << file << "\n" << scenario.value("description", "");

  if (scenario.contains("state")) {
    json state;
    ASSERT_NO_THROW(state = json::parse(readFile(statePath))) << file << ": no final state written";
    EXPECT_EQ(difference(scenario["state"], state, "state"), "")
        << file << "\n"
        << scenario.value("description", "");
  }
  fs::remove_all(dir);
}

std::string scenarioName(const testing::TestParamInfo<fs::path>& info) {
  std::string name = fs::relative(info.param, scenarioRoot()).replace_extension().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Files, Scenario, testing::ValuesIn(scenarioFiles()), scenarioName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Scenario);

}  // namespace
