#include "request/process.h"

#include <csignal>
#include <iostream>
#include <utility>

#include "request/request_loop.h"
#include "session/session.h"

namespace textport {

int runProcess(Platform& platform, std::vector<std::string> arguments, std::istream& input,
               std::ostream& output) {
  // A parent that closes its end of the pipe must end the loop quietly, not kill the process
  // with SIGPIPE: the failed write is noticed and serving stops.
  std::signal(SIGPIPE, SIG_IGN);
  // On the standard streams, C stdio synchronisation only costs time: nothing else here
  // writes through stdio. It has to be switched off before the first read.
  if (&input == &std::cin || &output == &std::cout) std::ios::sync_with_stdio(false);

  // A new session starts with no captured targets and no saved clipboard probe.
  Session session(platform, std::move(arguments));
  try {
    serve(input, output, session);
  } catch (...) {
    // Reading or writing failed beyond recovery (out of memory); end quietly, as when the
    // parent goes away: nothing may reach standard error.
  }
  return 0;
}

}  // namespace textport
