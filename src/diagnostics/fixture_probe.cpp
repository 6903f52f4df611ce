#include <cstdint>
#include <optional>
#include <string>

#include "accessibility/composer_search.h"
#include "accessibility/element_helpers.h"
#include "capture/activity_counters.h"
#include "capture/special_applications.h"
#include "diagnostics/diagnostic_messages.h"
#include "diagnostics/diagnostics.h"

namespace textport {

namespace {

namespace msg = diagnostic_messages;

constexpr std::uint16_t kKeyFunction = 63;    // kVK_Function
constexpr std::uint16_t kKeySpace = 49;       // kVK_Space
constexpr std::uint16_t kKeyLeftArrow = 123;  // kVK_LeftArrow
// Where the click lands, from the window's top-left corner: inside the content, clear of the
// title bar.
constexpr double kClickOffsetX = 60;
constexpr double kClickOffsetY = 100;
constexpr double kChordPause = 0.15;
constexpr double kInputPause = 0.08;

// Posts one keyboard event, adjusted as asked; an event the platform cannot make is left out.
void postKey(Platform& platform, const EventSource& source, std::uint16_t keyCode, bool down,
             std::optional<EventType> type, std::optional<std::uint64_t> flags) {
  const Event event = platform.createKeyboardEvent(source, keyCode, down);
  if (!event) return;
  if (type) platform.setEventType(event, *type);
  if (flags) platform.setEventFlags(event, *flags);
  platform.postEvent(event);
}

void postMouse(Platform& platform, const EventSource& source, EventType type, Point location) {
  const Event event = platform.createMouseEvent(source, type, location, MouseButton::left);
  if (event) platform.postEvent(event);
}

// fn held around a space press: how far the key-down counter moves shows whether the system
// counts the chord as typing.
JsonObject fnChordCount(Platform& platform) {
  const std::uint32_t before = keyCount(platform);
  const EventSource source = platform.createEventSource();
  postKey(platform, source, kKeyFunction, true, EventType::flagsChanged, kEventFlagMaskSecondaryFn);
  postKey(platform, source, kKeySpace, true, std::nullopt, kEventFlagMaskSecondaryFn);
  postKey(platform, source, kKeySpace, false, std::nullopt, kEventFlagMaskSecondaryFn);
  postKey(platform, source, kKeyFunction, false, EventType::flagsChanged, 0);
  platform.sleep(kChordPause);
  // Wrapping subtraction: a counter that passed 2^32 in between still gives the small delta.
  const std::uint32_t delta = keyCount(platform) - before;
  return JsonObject{{"delta", delta}};
}

JsonObject clickInWindow(Platform& platform, const Element& window) {
  const std::optional<Rect> bounds = elementRect(platform, window);
  if (!bounds) return errorAnswer(msg::kNoFixtureBounds);
  const std::optional<Point> pointer = platform.pointerLocation();
  const Point click{bounds->origin.x + kClickOffsetX, bounds->origin.y + kClickOffsetY};
  const EventSource source = platform.createEventSource();
  postMouse(platform, source, EventType::leftMouseDown, click);
  postMouse(platform, source, EventType::leftMouseUp, click);
  // Put the pointer back where the user left it.
  if (pointer) postMouse(platform, source, EventType::mouseMoved, *pointer);
  platform.sleep(kInputPause);
  return JsonObject{{"ok", true}};
}

JsonObject pressLeftArrow(Platform& platform) {
  const EventSource source = platform.createEventSource();
  postKey(platform, source, kKeyLeftArrow, true, std::nullopt, std::nullopt);
  postKey(platform, source, kKeyLeftArrow, false, std::nullopt, std::nullopt);
  platform.sleep(kInputPause);
  return JsonObject{{"ok", true}};
}

}  // namespace

JsonObject probeFixture(Session& session, const JsonObject& request) {
  if (!session.verifySelection()) return errorAnswer(msg::kFixtureOnly);
  Platform& platform = session.platform;
  const std::optional<RunningApp> front = frontmost(platform);
  // Only the purpose-built applications that verification drivers run may be driven.
  if (!front || !applicationTraits(front->bundleIdentifier.value_or("")).fixture) {
    return errorAnswer(msg::kFixtureOnly);
  }

  // No messaging timeout of its own: the fixture runs under the process-wide default.
  const Element application = platform.createApplicationElement(front->pid);
  const std::optional<Element> window =
      axElement(attribute(platform, application, "AXFocusedWindow"));
  if (!window) return errorAnswer(msg::kMissingFixtureWindow);

  const std::string mode = readString(request, "mode").value_or("");
  if (mode == "read") {
    // Without a composer "read" falls through to the invalid-request answer, never "text": "".
    if (auto composer = findComposer(platform, *window)) {
      const Value value = attribute(platform, *composer, "AXValue");
      const auto* text = value.as<std::string>();
      return JsonObject{{"text", text != nullptr ? *text : std::string()}};
    }
  }
  if (mode == "fn_chord_count") return fnChordCount(platform);
  if (mode == "mouse") return clickInWindow(platform, *window);
  if (mode == "key") return pressLeftArrow(platform);
  return errorAnswer(msg::kInvalidFixtureRequest);
}

}  // namespace textport
