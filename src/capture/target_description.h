// The target description: where the user is typing right now, optionally with the selection
// there, optionally captured under a token for a later delivery.
#pragma once

#include "capture/target_store.h"
#include "json/json_value.h"
#include "platform/platform.h"

namespace textport {

// What descriptions are made from: the desktop, the store that captured targets go into, and
// whether verification drivers run this process ("--verify-selection").
struct CaptureContext {
  Platform& platform;
  TargetStore& store;
  bool verifying = false;
};

struct TargetOptions {
  bool includeSelection = false;  // read the selection and report it
  bool capture = false;           // store the target and report "captureToken"
  bool allowCopy = true;          // copy the selection through the Copy menu when unreadable
  bool discover = false;          // allow the composer search in the focused window
};

// Where the user is typing, without reading the selection; the composer search is allowed.
inline constexpr TargetOptions kDescribeTarget{.discover = true};
// Read the selection, copying it when it cannot be read, and capture the target.
inline constexpr TargetOptions kCaptureTarget{
    .includeSelection = true, .capture = true, .discover = true};
// Read the selection again before a delivery; no search, and a copy only when allowed.
constexpr TargetOptions recheckTarget(bool allowCopy) {
  return TargetOptions{.includeSelection = true, .allowCopy = allowCopy};
}
// The last look before the keystroke: where the caret is, nothing read and nothing searched.
inline constexpr TargetOptions kLocateTarget{};

// Describes the frontmost application's input target. Never fails: every outcome is a
// description, the empty one when there is no frontmost application.
JsonObject target(const CaptureContext& context, const TargetOptions& options);

// The "target" action: "selection" (a boolean, default false) both reads and captures.
JsonObject targetAction(const CaptureContext& context, const JsonObject& request);

}  // namespace textport
