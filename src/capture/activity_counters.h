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

}  // namespace textport
