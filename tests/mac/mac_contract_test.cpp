// The macOS backend keeps the contract that every backend keeps, on the desktop of the logged-in
// user; the test process itself is the application it inspects.
#include <unistd.h>

#include "contract/platform_contract.h"
#include "platform/host_platform.h"

namespace textport::contract {
struct MacBackend {
  static std::unique_ptr<Platform> make() { return makeHostPlatform(); }
  static Pid applicationPid(Platform& /*platform*/) { return getpid(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mac, PlatformContract, ::testing::Types<MacBackend>);

}  // namespace textport::contract
