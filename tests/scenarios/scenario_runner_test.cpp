// Runs every scenario file under tests/scenarios/ through the textport-sim binary, the real
// request loop over a simulated desktop, and compares its answer lines and the final desktop
// state with what the scenario expects. The desktop is a world file named by the scenario (or
// written inline), with the scenario's own timeline entries appended after the world's, so
// scenarios that differ only in what the user does share one world file. The format is
// described in docs/scenario-format.md.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
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

const fs::path kRoot = fs::path(TEXTPORT_SOURCE_DIR) / "tests" / "scenarios";

// A scenario file, printed (and so named in ctest) by its path under tests/scenarios/.
struct ScenarioFile {
  fs::path path;
  friend void PrintTo(const ScenarioFile& file, std::ostream* out) {
    std::string name = fs::relative(file.path, kRoot).replace_extension().string();
    for (char& c : name) {
      if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    *out << name;
  }
};

std::vector<ScenarioFile> scenarioFiles() {
  std::vector<ScenarioFile> files;
  for (const auto& entry : fs::recursive_directory_iterator(kRoot)) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") {
      files.push_back({entry.path()});
    }
  }
  std::sort(files.begin(), files.end(), [](auto& a, auto& b) { return a.path < b.path; });
  return files;
}

std::string readFile(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// One argument for the shell, in single quotes.
std::string quoted(const std::string& argument) {
  std::string out = "'";
  for (char c : argument) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Empty when `actual` holds everything that `expected` lists, otherwise where and how they
// differ. Objects match on the keys the expectation names; arrays must have the same length and
// match element by element; anything else must be equal (1 and 1.0 are equal numbers).
std::string difference(const json& expected, const json& actual, const std::string& where) {
  const std::string mismatch = where + ": expected " + expected.dump() + ", found " + actual.dump();
  if (expected.is_object()) {
    if (!actual.is_object()) return mismatch;
    for (const auto& [key, value] : expected.items()) {
      if (!actual.contains(key)) return where + "." + key + ": missing in " + actual.dump();
      if (auto found = difference(value, actual.at(key), where + "." + key); !found.empty()) {
        return found;
      }
    }
    return "";
  }
  if (expected.is_array()) {
    if (!actual.is_array() || actual.size() != expected.size()) return mismatch;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const std::string inner = where + "[" + std::to_string(i) + "]";
      if (auto found = difference(expected[i], actual[i], inner); !found.empty()) return found;
    }
    return "";
  }
  return expected == actual ? "" : mismatch;
}

// Empty when the record holds entries matching each expected one, in the listed order (others may
// come between them); otherwise the first expected entry that has no match after the one before.
std::string subsequence(const json& expected, const json& record) {
  std::size_t next = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    while (next < record.size() && !difference(expected[i], record[next], "").empty()) ++next;
    if (next == record.size()) {
      return "record: no entry like " + expected[i].dump() +
             (i > 0 ? " after one like " + expected[i - 1].dump() : "");
    }
    ++next;
  }
  return "";
}

class Scenario : public testing::TestWithParam<ScenarioFile> {};

TEST_P(Scenario, AnswersAndFinalStateAreAsListed) {
  const fs::path file = GetParam().path;
  json scenario;
  ASSERT_NO_THROW(scenario = json::parse(readFile(file))) << file;
  ASSERT_TRUE(scenario.is_object()) << file;
  static const std::set<std::string> known = {"description", "world",   "timeline", "args",
                                              "requests",    "answers", "state",    "record"};
  for (const auto& [key, value] : scenario.items()) {
    ASSERT_TRUE(known.count(key)) << file << ": unknown key \"" << key << "\"";
  }
  ASSERT_TRUE(scenario["requests"].is_array() && scenario["answers"].is_array()) << file;
  const std::string description = scenario.value("description", "");

  const fs::path dir =
      fs::temp_directory_path() /
      ("textport-scenario-" + std::to_string(getpid()) + "-" + file.stem().string());
  fs::remove_all(dir);
  fs::create_directories(dir);

  // The merged world goes to the temporary folder. The scenario's timeline entries come after
  // the world's own, so of two entries due at the same moment the world's fires first. Without
  // either key the process starts on the empty desktop.
  std::string command = quoted(TEXTPORT_SIM_BINARY);
  if (scenario.contains("world") || scenario.contains("timeline")) {
    json world = scenario.value("world", json::object());
    if (world.is_string()) {
      const fs::path named = file.parent_path() / world.get<std::string>();
      ASSERT_NO_THROW(world = json::parse(readFile(named))) << file << ": world file " << named;
    }
    ASSERT_TRUE(world.is_object()) << file << ": \"world\" is an object or a path";
    if (scenario.contains("timeline")) {
      ASSERT_TRUE(scenario["timeline"].is_array()) << file << ": \"timeline\" is a list";
      json& timeline = world["timeline"];  // a missing one becomes a list with the first entry
      ASSERT_TRUE(timeline.is_null() || timeline.is_array()) << file << ": the timeline is a list";
      for (const json& entry : scenario["timeline"]) timeline.push_back(entry);
    }
    std::ofstream(dir / "world.json") << world.dump();
    command += " " + quoted("--world=" + (dir / "world.json").string());
  }
  command += " " + quoted("--state-out=" + (dir / "state.json").string());
  for (const json& argument : scenario.value("args", json::array())) {
    ASSERT_TRUE(argument.is_string()) << file << ": arguments are strings";
    command += " " + quoted(argument.get<std::string>());
  }

  // An object is sent as one compact line; a string is sent byte for byte, so malformed
  // requests can be written too.
  std::ofstream input(dir / "input", std::ios::binary);
  for (const json& request : scenario["requests"]) {
    input << (request.is_string() ? request.get<std::string>() : request.dump()) << '\n';
  }
  input.close();

  const int status =
      std::system((command + " <" + quoted((dir / "input").string()) + " >" +
                   quoted((dir / "output").string()) + " 2>" + quoted((dir / "errors").string()))
                      .c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << file << ": status " << status;
  EXPECT_EQ(readFile(dir / "errors"), "") << file;

  std::string expected;
  for (const json& answer : scenario["answers"]) {
    ASSERT_TRUE(answer.is_string()) << file << ": answers are the exact lines, as strings";
    expected += answer.get<std::string>() + "\n";
  }
  EXPECT_EQ(readFile(dir / "output"), expected) << file << "\n" << description;

  if (scenario.contains("state")) {
    json state;
    ASSERT_NO_THROW(state = json::parse(readFile(dir / "state.json"))) << file << ": no state";
    EXPECT_EQ(difference(scenario["state"], state, "state"), "") << file << "\n" << description;
  }
  if (scenario.contains("record")) {
    json state;
    ASSERT_NO_THROW(state = json::parse(readFile(dir / "state.json"))) << file << ": no state";
    EXPECT_EQ(subsequence(scenario["record"], state["record"]), "") << file << "\n" << description;
  }
  fs::remove_all(dir);
}

INSTANTIATE_TEST_SUITE_P(Files, Scenario, testing::ValuesIn(scenarioFiles()));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Scenario);

}  // namespace
