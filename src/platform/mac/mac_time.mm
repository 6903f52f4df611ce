// Time, identity and the per-request autorelease scope (Foundation and the Objective-C runtime).
#import <Foundation/Foundation.h>

#include <time.h>

#include "platform/mac/mac_platform.h"
#include "platform/mac/mac_values.h"

// The runtime's entry points behind @autoreleasepool. A request's scope opens and closes in two
// separate calls, which the block syntax cannot express; the runtime exports both.
extern "C" void* objc_autoreleasePoolPush(void);
extern "C" void objc_autoreleasePoolPop(void* pool);

namespace textport::mac {

MacPlatform::~MacPlatform() {
  releaseWatchedProvider();
  while (!pools_.empty()) requestEnded();
}

// CLOCK_MONOTONIC keeps counting while the machine sleeps, so a wait that spans a sleep is seen
// as long as it really was.
double MacPlatform::now() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void MacPlatform::sleep(double seconds) {
  [NSThread sleepForTimeInterval:seconds];
}

// A run loop without input sources returns at once (runUntilDate: included), so the turn runs in
// steps until the deadline: each step returns after one source fired or at the deadline, and when
// the run loop has nothing to wait on, the thread sleeps through the time that is left.
void MacPlatform::runLoop(double seconds) {
  const double deadline = now() + seconds;
  for (double left = seconds; left > 0; left = deadline - now()) {
    bool hadSources = false;
    @autoreleasepool {
      hadSources = [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                            beforeDate:[NSDate dateWithTimeIntervalSinceNow:left]];
    }
    if (!hadSources) sleep(left);
  }
}

std::string MacPlatform::newUuid() {
  return toUtf8((__bridge CFStringRef)[[NSUUID UUID] UUIDString]);
}

void MacPlatform::requestStarted() {
  pools_.push_back(objc_autoreleasePoolPush());
}

void MacPlatform::requestEnded() {
  if (pools_.empty()) return;
  objc_autoreleasePoolPop(pools_.back());
  pools_.pop_back();
}

}  // namespace textport::mac
