// The fixed messages of the request channel: the loop's and the dispatcher's error answers.
#pragma once

namespace textport::messages {

inline constexpr const char* kInvalidRequest = "invalid request";
inline constexpr const char* kUnknownAction = "unknown action";
inline constexpr const char* kDiagnosticOnly = "Diagnostic only";
inline constexpr const char* kFixtureOnly = "Fixture only";
inline constexpr const char* kAccessibilityRequired =
    "需要辅助功能权限 / Accessibility permission required";

}  // namespace textport::messages
