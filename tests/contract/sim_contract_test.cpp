// The simulated desktop keeps the contract that every backend keeps.
#include "contract/platform_contract.h"
#include "support/desk.h"

namespace textport::contract {
struct SimBackend {
  static std::unique_ptr<Platform> make() {
    return testing::loadWorld(R"({"frontmost": 10, "apps": [{"pid": 10,
        "bundle": "com.example.app", "name": "Example", "tree": {"children": []}}],
        "pasteboard": [[{"type": "public.utf8-plain-text", "text": "the user's"}]]})");
  }
  static Pid applicationPid(Platform& /*platform*/) { return 10; }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Sim, PlatformContract, ::testing::Types<SimBackend>);

}  // namespace textport::contract
