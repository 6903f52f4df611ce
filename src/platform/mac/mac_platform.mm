// The factory of the host backend on macOS.
#include <memory>

#include "platform/host_platform.h"
#include "platform/mac/mac_platform.h"

namespace textport {

std::unique_ptr<Platform> makeHostPlatform() {
  return std::make_unique<mac::MacPlatform>();
}

}  // namespace textport
