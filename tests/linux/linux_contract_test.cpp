// The X11 desktop keeps the contract that every backend keeps. Runs inside the headless test
// session, which names its running test application.
#include <cstdlib>

#include "contract/platform_contract.h"
#include "platform/linux/linux_platform.h"

namespace textport::contract {
struct LinuxBackend {
  static std::unique_ptr<Platform> make() { return std::make_unique<x11::LinuxPlatform>(); }
  static Pid applicationPid(Platform& /*platform*/) {
    const char* pid = std::getenv("TEXTPORT_TEST_APP_PID");
    return pid != nullptr ? static_cast<Pid>(std::atoi(pid)) : 0;
  }
  static constexpr std::uint16_t kHarmlessKey = 56;  // Shift alone: X servers may lack F19
  static constexpr bool kOneItem = true;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, PlatformContract, ::testing::Types<LinuxBackend>);

}  // namespace textport::contract
