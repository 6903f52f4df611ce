// The workspace (AppKit): which application is frontmost and which one runs under a pid.
#import <AppKit/AppKit.h>

#include "platform/mac/mac_platform.h"
#include "platform/mac/mac_values.h"

namespace textport::mac {

namespace {
std::optional<std::string> utf8(NSString* string) {
  if (!string) return std::nullopt;
  return toUtf8((__bridge CFStringRef)string);
}

std::optional<RunningApp> toRunningApp(NSRunningApplication* app) {
  if (!app) return std::nullopt;
  return RunningApp{app.processIdentifier, utf8(app.bundleIdentifier), utf8(app.localizedName)};
}
}  // namespace

std::optional<RunningApp> MacPlatform::frontmostApplication() {
  return toRunningApp([[NSWorkspace sharedWorkspace] frontmostApplication]);
}

std::optional<RunningApp> MacPlatform::runningApplication(Pid pid) {
  return toRunningApp([NSRunningApplication runningApplicationWithProcessIdentifier:pid]);
}

}  // namespace textport::mac
