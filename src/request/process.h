// The process entry shared by the real program and textport-sim.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport {

// Builds the session, serves requests until input ends and returns the exit status (0).
int runProcess(Platform& platform, std::vector<std::string> arguments, std::istream& input,
               std::ostream& output);

}  // namespace textport
