// The target description: where the user is typing right now, optionally with the selection
// there, optionally captured under a token for a later delivery.
#pragma once

#include "json/json_value.h"
#include "session/session.h"

namespace textport {

struct TargetOptions {
  bool includeSelection = false;  // read the selection and report it
  bool capture = false;           // store the target and report "captureToken"
  bool allowCopy = true;          // copy the selection through the Copy menu when unreadable
  bool discover = false;          // allow the composer search in the focused window
};

// Describes the frontmost application's input target. Never fails: every outcome is a
// description, the empty one when there is no frontmost application.
JsonObject target(Session& session, const TargetOptions& options);

// The "target" action: "selection" (a boolean, default false) both reads and captures.
JsonObject targetAction(Session& session, const JsonObject& request);

}  // namespace textport
