// The factory of the host backend that the real textport binary runs on.
#pragma once

#include <memory>

#include "platform/platform.h"

namespace textport {

std::unique_ptr<Platform> makeHostPlatform();

}  // namespace textport
