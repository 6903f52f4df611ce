// The dispatcher: one request dictionary in, one answer dictionary out, through the gates.
#pragma once

#include "json/json_value.h"
#include "session/session.h"

namespace textport {

JsonObject run(Session& session, const JsonObject& request);

}  // namespace textport
