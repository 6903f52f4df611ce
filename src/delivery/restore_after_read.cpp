#include "delivery/restore_after_read.h"

#include <algorithm>

namespace textport {

bool waitForRead(Platform& platform, std::uint64_t readsAtKeystroke,
                 std::int64_t stagedChangeCount) {
  const double deadline = platform.now() + kReadBound;
  for (;;) {
    if (platform.watchedTextReads() > readsAtKeystroke) {
      platform.runLoop(kReadSettle);
      return true;
    }
    // Another writer's content wins whatever happens next, so there is nothing left to wait for.
    if (platform.pasteboardChangeCount() != stagedChangeCount) return false;
    const double left = deadline - platform.now();
    if (left <= 0) return false;
    platform.runLoop(std::min(kReadPoll, left));
  }
}

}  // namespace textport
