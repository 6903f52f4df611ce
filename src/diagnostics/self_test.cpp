#include "capture/target_comparison.h"
#include "diagnostics/diagnostics.h"

namespace textport {

// Runs the target comparison on fixed descriptions, so the parent can check the rule that
// decides whether a delivery may go ahead without any application, permission or pasteboard.
// A false value reports a broken rule; the answer never carries "error".
JsonObject selfTest(Session& /*session*/, const JsonObject& /*request*/) {
  const JsonObject base{{"pid", 123},   {"role", "AXTextArea"}, {"identifier", "synthetic"},
                        {"window", 10}, {"offset", 3},          {"length", 0}};
  JsonObject otherProcess = base;
  otherProcess["pid"] = 124;
  JsonObject otherCursor = base;
  otherCursor["offset"] = 4;
  return JsonObject{
      {"same", sameTarget(base, base)},
      {"differentPIDRejected", !sameTarget(base, otherProcess)},
      {"differentCursorRejected", !sameTarget(base, otherCursor)},
      {"missingTargetRejected", !sameTarget(JsonObject{}, JsonObject{})},
  };
}

}  // namespace textport
