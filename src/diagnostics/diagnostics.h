// Diagnostic actions: permissions, application inspection, clipboard and copy probes,
// the fixture probe and the self test.
#pragma once

#include "json/json_value.h"
#include "session/session.h"

namespace textport {

JsonObject permissions(Session& session, const JsonObject& request);
JsonObject inspectApp(Session& session, const JsonObject& request);
JsonObject probeClipboard(Session& session, const JsonObject& request);
JsonObject probeCopySelection(Session& session, const JsonObject& request);
JsonObject probeFixture(Session& session, const JsonObject& request);
JsonObject selfTest(Session& session, const JsonObject& request);

}  // namespace textport
