// libFuzzer target over the whole request path: bytes in, answer lines out, on a simulated
// desktop. The first byte picks the process: bit 0 "--daemon", bit 1 "--verify-selection",
// bit 2 an untrusted start, bits 3-5 the frontmost application (past the list: none). The
// rest is the input. In line-by-line mode every line goes through the real loop on its own,
// so the desktop can be checked between requests; in one-shot mode the rest is one request.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_world.h"
#include "platform/sim/sim_desktop.h"
#include "property/request_invariants.h"
#include "request/request_loop.h"
#include "session/session.h"

namespace {

using textport::sim::SimDesktop;

// Loaded once; every input starts from a copy, which is much cheaper than parsing the world.
const SimDesktop& baseDesktop() {
  static const std::unique_ptr<SimDesktop> desktop = [] {
    auto loaded = SimDesktop::fromJson(textport::fuzz::kFuzzWorld, "fuzz-world.json");
    if (!loaded) {
      std::fprintf(stderr, "fuzz world: %s\n", loaded.error.c_str());
      std::abort();
    }
    return std::move(loaded.desktop);
  }();
  return *desktop;
}

[[noreturn]] void finding(const std::string& what) {
  std::fprintf(stderr, "invariant broken: %s\n", what.c_str());
  std::abort();
}

std::string serveOne(textport::Session& session, std::string bytes) {
  std::istringstream input(std::move(bytes));
  std::ostringstream output;
  textport::serve(input, output, session);
  return output.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint8_t flags = data[0];
  const std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);

  SimDesktop desktop = baseDesktop();
  constexpr std::size_t kApps = std::size(textport::fuzz::kFuzzPids);
  const std::size_t front = (flags >> 3) & 7;
  desktop.setFrontmost(front < kApps
                           ? std::optional<textport::Pid>(textport::fuzz::kFuzzPids[front])
                           : std::nullopt);
  if (flags & 4) desktop.setTrusted(false);

  std::vector<std::string> arguments{"textport"};
  if (flags & 1) arguments.emplace_back("--daemon");
  if (flags & 2) arguments.emplace_back("--verify-selection");
  textport::Session session(desktop, arguments);

  if (!(flags & 1)) {
    const textport::invariants::RequestWatch watch(desktop);
    if (auto broken = watch.check(desktop, serveOne(session, std::string(rest)))) finding(*broken);
    return 0;
  }
  // Lines as the loop reads them: up to each line feed; a last line without one still counts.
  std::size_t start = 0;
  while (start < rest.size()) {
    std::size_t end = rest.find('\n', start);
    if (end == std::string_view::npos) end = rest.size();
    const std::string line(rest.substr(start, end - start + (end < rest.size() ? 1 : 0)));
    start = end + 1;
    const textport::invariants::RequestWatch watch(desktop);
    const std::string answer = serveOne(session, line);
    if (auto broken = watch.check(desktop, answer)) finding(*broken);
  }
  return 0;
}
