// textport-sim: the real request loop over a simulated desktop read from a world file.
//
//   textport-sim [--world FILE] [--state-out FILE] [ARGS...]
//
// --world and --state-out belong to this tool; every other argument (the program path
// included) is the argument list of the process it runs, so "--daemon" and
// "--verify-selection" behave as in the real program. When input ends the world's timeline is
// played to its end and the final state is written where --state-out says. Problems of the
// tool itself (usage, an unreadable or invalid world file) go to standard error with exit
// status 2; standard output carries only answer lines.
//
// The desktop's record is bounded here (the newest kRecordLimit to twice as many entries per
// list), so a daemon that answers millions of requests keeps a steady memory size; the state
// file's posted events are then the newest ones.
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sim/sim_desktop.h"
#include "request/process.h"

namespace {

constexpr int kToolError = 2;
constexpr std::size_t kRecordLimit = 10000;
constexpr std::string_view kUsage =
    "usage: textport-sim [--world FILE] [--state-out FILE] [ARGS...]";

struct Options {
  std::optional<std::string> world;
  std::optional<std::string> stateOut;
  std::vector<std::string> arguments;  // for the process, argv[0] included
};

// The tool's options, or the message that explains the usage error.
std::optional<Options> parseOptions(int argc, char** argv, std::string& error) {
  Options options;
  options.arguments.emplace_back(argc > 0 ? argv[0] : "textport-sim");
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    std::optional<std::string>* target = nullptr;
    std::string_view name;
    for (std::string_view option : {"--world", "--state-out"}) {
      if (argument == option ||
          argument.substr(0, option.size() + 1) == std::string(option) + "=") {
        target = option == "--world" ? &options.world : &options.stateOut;
        name = option;
      }
    }
    if (!target) {
      options.arguments.emplace_back(argument);
      continue;
    }
    if (*target) {
      error = std::string(name) + " given twice";
      return std::nullopt;
    }
    if (argument.size() > name.size()) {
      *target = std::string(argument.substr(name.size() + 1));
    } else if (i + 1 < argc) {
      *target = std::string(argv[++i]);
    } else {
      error = std::string(name) + " needs a file name";
      return std::nullopt;
    }
    if ((*target)->empty()) {
      error = std::string(name) + " needs a file name";
      return std::nullopt;
    }
  }
  return options;
}

int toolError(std::string_view message) {
  std::cerr << "textport-sim: " << message << "\n";
  return kToolError;
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const auto options = parseOptions(argc, argv, error);
  if (!options) return toolError(error + "\n" + std::string(kUsage));

  std::unique_ptr<textport::sim::SimDesktop> desktop;
  if (options->world) {
    std::ifstream file(*options->world, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf())) {
      return toolError("cannot read the world file " + *options->world);
    }
    auto loaded = textport::sim::SimDesktop::fromJson(text.str(), *options->world);
    if (!loaded) return toolError(loaded.error);
    desktop = std::move(loaded.desktop);
  } else {
    desktop = std::make_unique<textport::sim::SimDesktop>();
  }

  desktop->setRecordLimit(kRecordLimit);
  const int status = textport::runProcess(*desktop, options->arguments, std::cin, std::cout);
  std::cout.flush();
  desktop->drainTimeline();
  if (options->stateOut) {
    std::ofstream out(*options->stateOut, std::ios::binary | std::ios::trunc);
    if (!(out << desktop->stateJson()) || !out.flush()) {
      return toolError("cannot write the state file " + *options->stateOut);
    }
  }
  return status;
}
