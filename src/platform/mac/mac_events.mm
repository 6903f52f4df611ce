// Input events (Quartz event services): activity counters, synthesised keyboard and mouse
// events posted at the HID tap, the paste shortcut, and whether posted events are let through.
#include <CoreGraphics/CoreGraphics.h>

#include "platform/mac/cf_object.h"
#include "platform/mac/mac_platform.h"

namespace textport::mac {

namespace {
CGEventSourceRef eventSource(const EventSource& source) {
  return static_cast<CGEventSourceRef>(const_cast<void*>(unwrap(source)));
}
CGEventRef cgEvent(const Event& event) {
  return static_cast<CGEventRef>(const_cast<void*>(unwrap(event)));
}
}  // namespace

std::uint32_t MacPlatform::eventCounter(EventType type) {
  return CGEventSourceCounterForEventType(kCGEventSourceStateCombinedSessionState,
                                          static_cast<CGEventType>(type));
}

EventSource MacPlatform::createEventSource() {
  return wrap<EventSource>(CFHandle<CGEventSourceRef>::adopt(
      CGEventSourceCreate(kCGEventSourceStateCombinedSessionState)));
}

// An empty source stands for none: the platform then makes the event without a source.
Event MacPlatform::createKeyboardEvent(const EventSource& source, std::uint16_t keyCode,
                                       bool keyDown) {
  return wrap<Event>(CFHandle<CGEventRef>::adopt(
      CGEventCreateKeyboardEvent(eventSource(source), keyCode, keyDown)));
}

Event MacPlatform::createMouseEvent(const EventSource& source, EventType type, Point location,
                                    MouseButton button) {
  return wrap<Event>(CFHandle<CGEventRef>::adopt(CGEventCreateMouseEvent(
      eventSource(source), static_cast<CGEventType>(type), CGPointMake(location.x, location.y),
      static_cast<CGMouseButton>(button))));
}

std::optional<Point> MacPlatform::pointerLocation() {
  const auto event = CFHandle<CGEventRef>::adopt(CGEventCreate(nullptr));
  if (!event) return std::nullopt;
  const CGPoint location = CGEventGetLocation(event.get());
  return Point{location.x, location.y};
}

// The event calls below take no null event; an empty handle is an event that was never made,
// so there is nothing to change or post.
void MacPlatform::setEventType(const Event& event, EventType type) {
  if (cgEvent(event)) CGEventSetType(cgEvent(event), static_cast<CGEventType>(type));
}

void MacPlatform::setEventFlags(const Event& event, std::uint64_t flags) {
  if (cgEvent(event)) CGEventSetFlags(cgEvent(event), static_cast<CGEventFlags>(flags));
}

void MacPlatform::postEvent(const Event& event) {
  if (cgEvent(event)) CGEventPost(kCGHIDEventTap, cgEvent(event));
}

bool MacPlatform::postPasteShortcut() {
  const CGKeyCode key = pasteKey();
  // Without a source (null) the platform still makes the events, just not on the session's state.
  const auto source = CFHandle<CGEventSourceRef>::adopt(
      CGEventSourceCreate(kCGEventSourceStateCombinedSessionState));
  const auto down =
      CFHandle<CGEventRef>::adopt(CGEventCreateKeyboardEvent(source.get(), key, true));
  if (!down) return false;
  const auto up = CFHandle<CGEventRef>::adopt(CGEventCreateKeyboardEvent(source.get(), key, false));
  if (!up) return false;
  // Replacing the whole flag word drops any modifier the user happens to hold, so the application
  // sees Command-V and not, say, Command-Option-V.
  CGEventSetFlags(down.get(), kCGEventFlagMaskCommand);
  CGEventSetFlags(up.get(), kCGEventFlagMaskCommand);
  CGEventPost(kCGHIDEventTap, down.get());
  CGEventPost(kCGHIDEventTap, up.get());
  return true;
}

// Only asks, like isProcessTrusted: CGRequestPostEventAccess would show the system's prompt, and
// textport never does; the parent application tells the user where to grant the permission.
bool MacPlatform::mayPostEvents() {
  return CGPreflightPostEventAccess();
}

}  // namespace textport::mac
