// The "copy" action: put a text on the pasteboard for good.
#pragma once

#include "json/json_value.h"
#include "session/session.h"

namespace textport {

JsonObject copyAction(Session& session, const JsonObject& request);

}  // namespace textport
