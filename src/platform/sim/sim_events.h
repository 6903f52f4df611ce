// Simulated input: the combined session's per-type event counters, the pointer, the switches
// that make event creation fail, and the events posted so far.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/sim_objects.h"

namespace textport::sim {

// One event as it was posted (by the process under test) or pressed (by the timeline).
struct PostedEvent {
  double time = 0;
  EventType type = EventType::keyDown;
  bool keyboard = false;
  std::uint16_t keyCode = 0;
  std::uint64_t flags = 0;
  Point location;
  MouseButton button = MouseButton::left;
  std::uint64_t order = 0;  // place in the desktop's record, across all its lists
};

// A synthesised input event; its type and flags can still change until it is posted, when it
// is recorded as it then stands.
class SimEvent final : public PlatformObject {
 public:
  bool equals(const PlatformObject& other) const override { return this == &other; }
  PostedEvent event;
};

// What the desktop refuses to make.
struct EventFailures {
  bool source = false;
  bool keyboard = false;
  std::optional<std::uint32_t> keyboardAfter;  // keyboard events fail after this many were made
  bool mouse = false;
  bool pointer = false;
  bool postDenied = false;  // posting is not permitted: every posted event is dropped
};

class SimInput {
 public:
  std::uint32_t counter(EventType type) const;
  void setCounter(EventType type, std::uint32_t value) { counters_[type] = value; }
  Point pointer() const { return pointer_; }
  void setPointer(Point p) { pointer_ = p; }
  EventFailures& failures() { return failures_; }
  const EventFailures& failures() const { return failures_; }

  // Whether one more keyboard event can be made (counts the ones made).
  bool makeKeyboardEvent();
  // Applies an event to the session: its own type's counter goes up by one (wrapping), and
  // mouse events move the pointer to their location.
  void apply(const PostedEvent& event);

 private:
  std::map<EventType, std::uint32_t> counters_;
  Point pointer_;
  EventFailures failures_;
  std::uint32_t keyboardEventsMade_ = 0;
};

}  // namespace textport::sim
