// The macOS backend keeps the contract that every backend keeps, on the desktop of the logged-in
// user; the test process itself is the application it inspects.
#include <unistd.h>

#include "contract/platform_contract.h"
#include "platform/host_platform.h"

namespace textport::contract {
namespace {

struct MacBackend {
  static constexpr const char* kName = "Mac";
  static std::unique_ptr<Platform> make() { return makeHostPlatform(); }
  static Pid applicationPid(Platform& /*platform*/) { return getpid(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mac, PlatformContract, ::testing::Types<MacBackend>, BackendName);

}  // namespace
}  // namespace textport::contract
