// The user's input activity as the combined session counts it: mouse-button presses and
// key presses. Both wrap at 2^32 and are compared by wrapping difference.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace textport {

// Left, right and other mouse-button presses, summed with wrap-around.
std::uint32_t mouseCount(Platform& platform);
// Key presses (key-down events).
std::uint32_t keyCount(Platform& platform);

struct ActivityCounts {
  std::uint32_t mouse = 0;  // mouseCount at the time
  std::uint32_t keys = 0;   // keyCount at the time
};

// Both counters now.
ActivityCounts activityCounts(Platform& platform);
// True when there was no click since `then` and exactly `allowedKeys` key presses: the user
// typed only what the parent application expected.
bool onlyExpectedActivity(Platform& platform, const ActivityCounts& then,
                          std::uint32_t allowedKeys);

}  // namespace textport
