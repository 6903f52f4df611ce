// The "deliver" action: verify that the captured target is still the user's target, then
// paste the text there, or refuse with the message of the first check that fails.
#pragma once

#include "json/json_value.h"
#include "session/session.h"

namespace textport {

JsonObject deliver(Session& session, const JsonObject& request);

}  // namespace textport
