// One accessibility request carried out through libatspi. Every D-Bus call it makes shares the
// messaging timeout in force for the element, measured on a monotonic clock, and the first
// failure becomes the request's error code; after it, no further call is made.
#pragma once

#include <atspi/atspi.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/atspi_elements.h"
#include "platform/platform.h"

namespace textport::x11 {

using TextRef = GObjectRef<AtspiText>;
using ComponentRef = GObjectRef<AtspiComponent>;
using ActionRef = GObjectRef<AtspiAction>;
using CollectionRef = GObjectRef<AtspiCollection>;
using MatchRuleRef = GObjectRef<AtspiMatchRule>;

// An object's states at the time of asking.
class States {
 public:
  explicit States(GObjectRef<AtspiStateSet> set) : set_(std::move(set)) {}
  bool has(AtspiStateType state) const {
    return set_ && atspi_state_set_contains(set_.get(), state);
  }

 private:
  GObjectRef<AtspiStateSet> set_;
};

class AtspiRequest {
 public:
  explicit AtspiRequest(double timeoutSeconds);

  AXError error() const { return error_; }
  bool ok() const { return error_ == kAXErrorSuccess; }
  // Records a failure found by the caller (the first one stays).
  void fail(AXError error) {
    if (ok()) error_ = error;
  }

  // The object's states; DEFUNCT among them when the object or its application is gone.
  std::optional<States> states(AtspiAccessible* accessible);
  // The same, failing with kAXErrorInvalidUIElement when the object is gone.
  std::optional<States> liveStates(AtspiAccessible* accessible);
  std::optional<AtspiRole> role(AtspiAccessible* accessible);
  std::optional<std::string> name(AtspiAccessible* accessible);
  std::optional<std::string> accessibleId(AtspiAccessible* accessible);
  std::optional<int> childCount(AtspiAccessible* accessible);
  // Nothing when the call failed; an empty reference when there is no such object.
  std::optional<AccessibleRef> child(AtspiAccessible* accessible, int index);
  std::optional<std::vector<AccessibleRef>> children(AtspiAccessible* accessible);
  std::optional<AccessibleRef> parent(AtspiAccessible* accessible);
  // Asked of the bus, not of the application.
  std::optional<Pid> processId(AtspiAccessible* accessible);

  // The object's interfaces; an empty reference when it has no such interface.
  std::optional<TextRef> text(AtspiAccessible* accessible);
  std::optional<ComponentRef> component(AtspiAccessible* accessible);
  std::optional<ActionRef> action(AtspiAccessible* accessible);
  std::optional<CollectionRef> collection(AtspiAccessible* accessible);

  // Text, in code points. `end` -1 is the end of the text.
  std::optional<int> characterCount(AtspiText* text);
  std::optional<std::string> textBetween(AtspiText* text, int start, int end);
  // The first selection's [start, end), or the caret as an empty range when nothing is selected.
  std::optional<std::pair<int, int>> selectionOrCaret(AtspiText* text);
  bool select(AtspiText* text, int start, int end);

  std::optional<AtspiRect> screenExtents(AtspiComponent* component);
  bool grabFocus(AtspiComponent* component);

  std::optional<int> actionCount(AtspiAction* action);
  std::optional<std::string> keyBinding(AtspiAction* action, int index);
  bool doAction(AtspiAction* action, int index);

  // The first object under `scope` that the rule matches; an empty reference when none does.
  std::optional<AccessibleRef> firstMatch(AtspiCollection* scope, AtspiMatchRule* rule);

  // Whether time is left for another call, and how much.
  bool timeLeft() const;
  double secondsLeft() const;

 private:
  using Clock = std::chrono::steady_clock;

  // Runs one libatspi call `f(GError**)` within the time left; nothing when it failed.
  template <class F>
  auto call(F&& f) -> std::optional<decltype(f(nullptr))>;
  bool begin();
  bool finish(GError* error);

  Clock::time_point deadline_;
  Clock::time_point callStart_;
  Clock::duration callLimit_{};
  AXError error_ = kAXErrorSuccess;
};

// Answers of one accessibility request.
inline AXResult ok(Value value) {
  return {kAXErrorSuccess, std::move(value)};
}
inline AXResult fail(AXError error) {
  return {error, {}};
}
// The request's own failure when it failed, else `otherwise`.
inline AXResult failed(const AtspiRequest& request, AXError otherwise) {
  return fail(request.ok() ? otherwise : request.error());
}

}  // namespace textport::x11
