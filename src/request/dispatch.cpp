#include "request/dispatch.h"

#include <array>
#include <string_view>

#include "capture/target_description.h"
#include "delivery/copy_action.h"
#include "delivery/deliver.h"
#include "diagnostics/diagnostics.h"
#include "request/messages.h"

namespace textport {

namespace {

enum class Gate {
  none,
  diagnostic,  // needs "--verify-selection"
  fixture,     // needs "--verify-selection", refused with its own message
  trusted,     // needs the accessibility permission
};

struct Route {
  std::string_view name;
  Gate gate;
  JsonObject (*action)(Session&, const JsonObject&);
};

// Looked up in this order; the first equal name is taken.
constexpr std::array<Route, 9> kRoutes{{
    {"self_test", Gate::none, selfTest},
    {"probe_clipboard", Gate::diagnostic, probeClipboard},
    {"probe_copy_selection", Gate::diagnostic, probeCopySelection},
    {"inspect_app", Gate::diagnostic, inspectApp},
    {"probe_fixture", Gate::fixture, probeFixture},
    {"permissions", Gate::none, permissions},
    {"target", Gate::none,
     [](Session& session, const JsonObject& request) {
       return targetAction(session.capture(), request);
     }},
    {"copy", Gate::none, copyAction},
    {"deliver", Gate::trusted, deliver},
}};

// The refusal of a closed gate, or nothing when the gate is open. A refused action does
// nothing at all: no accessibility request, no pasteboard access, no token used up.
const char* refusal(Gate gate, Session& session) {
  switch (gate) {
    case Gate::none:
      return nullptr;
    case Gate::diagnostic:
      return session.verifySelection() ? nullptr : messages::kDiagnosticOnly;
    case Gate::fixture:
      return session.verifySelection() ? nullptr : messages::kFixtureOnly;
    case Gate::trusted:
      return session.platform.isProcessTrusted() ? nullptr : messages::kAccessibilityRequired;
  }
  return nullptr;
}

}  // namespace

JsonObject run(Session& session, const JsonObject& request) {
  auto it = request.find(std::string_view("action"));
  const std::string* name = it == request.end() ? nullptr : it->second.as<std::string>();
  if (name == nullptr) return errorAnswer(messages::kUnknownAction);
  for (const Route& route : kRoutes) {
    if (route.name != *name) continue;
    if (const char* message = refusal(route.gate, session)) return errorAnswer(message);
    return route.action(session, request);
  }
  return errorAnswer(messages::kUnknownAction);
}

}  // namespace textport
