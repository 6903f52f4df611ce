#include "diagnostics/diagnostics.h"

namespace textport {

// Reports the accessibility permission as data; asking never prompts the user.
JsonObject permissions(Session& session, const JsonObject& /*request*/) {
  return JsonObject{{"accessibility", session.platform.isProcessTrusted()}};
}

}  // namespace textport
