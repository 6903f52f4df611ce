// The fixed messages of the request channel: the loop's and the dispatcher's error answers.
// A gate refuses in the words of the actions it guards, so those come from their subsystems.
#pragma once

#include "delivery/delivery_messages.h"
#include "diagnostics/diagnostic_messages.h"

namespace textport::messages {

inline constexpr const char* kInvalidRequest = "invalid request";
inline constexpr const char* kUnknownAction = "unknown action";
// An action failed in a way no rule foresees; the process goes on with the next request.
inline constexpr const char* kInternalError = "internal error";
inline constexpr const char* kDiagnosticOnly = diagnostic_messages::kDiagnosticOnly;
inline constexpr const char* kFixtureOnly = diagnostic_messages::kFixtureOnly;
inline constexpr const char* kAccessibilityRequired = delivery_messages::kAccessibilityRequired;

}  // namespace textport::messages
