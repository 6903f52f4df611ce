// The request loop: one-shot mode (all of the input is one request) and line-by-line mode
// ("--daemon": one request per line), one answer line per request.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include "session/session.h"

namespace textport {

// The answer line (with its line feed) for the bytes of one request. Never fails.
std::string respond(Session& session, std::string_view data);

// Answers requests from input until it ends or output is closed; the mode comes from the
// session's arguments.
void serve(std::istream& input, std::ostream& output, Session& session);

}  // namespace textport
