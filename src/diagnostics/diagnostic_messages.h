// The answers of the diagnostic actions that are refusals. English only: they are read by
// verification drivers, never shown to the user.
#pragma once

namespace textport::diagnostic_messages {

inline constexpr const char* kDiagnosticOnly = "Diagnostic only";
inline constexpr const char* kInvalidProbe = "Invalid probe";
inline constexpr const char* kNoFixture = "No fixture";
inline constexpr const char* kFixtureOnly = "Fixture only";
inline constexpr const char* kMissingFixtureWindow = "Missing fixture window";
inline constexpr const char* kNoFixtureBounds = "No fixture bounds";
inline constexpr const char* kInvalidFixtureRequest = "Invalid fixture request";

}  // namespace textport::diagnostic_messages
