// Thin helpers over the accessibility interface. A failure is always an empty result.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/platform.h"

namespace textport {

// Messaging timeouts, in seconds.
inline constexpr float kApplicationTimeout = 0.3f;     // application elements in capture, delivery
inline constexpr float kFocusFallbackTimeout = 0.15f;  // system-wide element, focused fallback
inline constexpr float kFrontmostTimeout = 0.3f;       // system-wide element, frontmost lookup

// The value as an element, or nothing when it is not one.
std::optional<Element> axElement(const Value& value);
// One attribute read; nothing when the request fails (a successful read may give nothing too).
Value attribute(Platform& platform, const Element& element, const std::string& name);
// An attribute read as a string; nothing when it fails or is not a string.
std::optional<std::string> stringAttribute(Platform& platform, const Element& element,
                                           const std::string& name);
// The application's focused element; through the system-wide element when the application
// cannot say, and then only when that element belongs to the given process.
std::optional<Element> focusedElement(Platform& platform, const Element& application, Pid pid);
// The element's screen rectangle from "AXPosition" and "AXSize"; nothing without a positive
// width and height.
std::optional<Rect> elementRect(Platform& platform, const Element& element);
// The frontmost application: the accessibility answer when there is one, else the workspace's.
std::optional<RunningApp> frontmost(Platform& platform);
// Asks the application to expose its full tree; the error code of each of the two writes.
std::map<std::string, AXError> enableAccessibility(Platform& platform, const Element& application);
// An application element with its messaging timeout set.
Element applicationElement(Platform& platform, Pid pid, float timeout);
// The element's "AXSelectedTextRange" as a range, when it reads as one.
std::optional<Range> selectedRange(Platform& platform, const Element& element);
// The list of elements under "AXChildren", when it reads as a list of elements.
std::optional<std::vector<Element>> children(Platform& platform, const Element& element);

}  // namespace textport
