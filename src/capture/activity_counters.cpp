#include "capture/activity_counters.h"

namespace textport {

std::uint32_t mouseCount(Platform& platform) {
  // Unsigned arithmetic wraps at 2^32 instead of trapping.
  std::uint32_t sum = platform.eventCounter(EventType::leftMouseDown);
  sum += platform.eventCounter(EventType::rightMouseDown);
  sum += platform.eventCounter(EventType::otherMouseDown);
  return sum;
}

std::uint32_t keyCount(Platform& platform) {
  return platform.eventCounter(EventType::keyDown);
}

ActivityCounts activityCounts(Platform& platform) {
  return ActivityCounts{mouseCount(platform), keyCount(platform)};
}

bool onlyExpectedActivity(Platform& platform, const ActivityCounts& then,
                          std::uint32_t allowedKeys) {
  if (mouseCount(platform) != then.mouse) return false;
  // Unsigned subtraction wraps, so a counter that passed 2^32 still gives the small difference.
  return static_cast<std::uint32_t>(keyCount(platform) - then.keys) == allowedKeys;
}

}  // namespace textport
