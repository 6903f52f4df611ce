#include "platform/sim/sim_events.h"

namespace textport::sim {

std::uint32_t SimInput::counter(EventType type) const {
  auto it = counters_.find(type);
  return it == counters_.end() ? 0 : it->second;
}

bool SimInput::makeKeyboardEvent() {
  if (failures_.keyboard) return false;
  if (failures_.keyboardAfter && keyboardEventsMade_ >= *failures_.keyboardAfter) return false;
  ++keyboardEventsMade_;
  return true;
}

void SimInput::apply(const PostedEvent& event) {
  // Unsigned arithmetic wraps at 2^32 like the platform's counters.
  counters_[event.type] = counter(event.type) + 1u;
  if (!event.keyboard) pointer_ = event.location;
}

}  // namespace textport::sim
