#include "capture/activity_counters.h"

namespace textport {

std::uint32_t mouseCount(Platform& platform) {
  // Unsigned arithmetic wraps at 2^32 instead of trapping.
  std::uint32_t sum = platform.eventCounter(EventType::leftMouseDown);
  sum += platform.eventCounter(EventType::rightMouseDown);
  sum += platform.eventCounter(EventType::otherMouseDown);
  return sum;
}

std::uint32_t keyCount(Platform& platform) { return platform.eventCounter(EventType::keyDown); }

}  // namespace textport
