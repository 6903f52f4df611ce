// Text helpers of the simulated desktop: UTF-8 <-> UTF-16 (accessibility ranges count UTF-16
// code units), the byte encodings that world files use (base64, hex) and the event type names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace textport::sim {

// UTF-16 code units of UTF-8 text; invalid bytes become U+FFFD.
std::u16string toUtf16(std::string_view utf8);
// UTF-8 of UTF-16 code units; a lone surrogate becomes U+FFFD.
std::string toUtf8(std::u16string_view utf16);
// Whether the bytes are well-formed UTF-8.
bool isUtf8(const Bytes& bytes);

// Standard base64 with padding.
std::string toBase64(const Bytes& bytes);
// The bytes of standard base64 text, or nothing when it is malformed.
std::optional<Bytes> fromBase64(std::string_view text);
// The bytes of hexadecimal text (pairs of digits, either case), or nothing when malformed.
std::optional<Bytes> fromHex(std::string_view text);

inline Bytes toBytes(std::string_view text) {
  return Bytes(text.begin(), text.end());
}
inline std::string toString(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// The names that world and state files give the accessibility error codes, both ways.
struct NamedError {
  std::string_view name;
  AXError code;
};
inline constexpr NamedError kErrorNames[] = {
    {"success", kAXErrorSuccess},
    {"failure", kAXErrorFailure},
    {"illegal_argument", kAXErrorIllegalArgument},
    {"invalid_ui_element", kAXErrorInvalidUIElement},
    {"cannot_complete", kAXErrorCannotComplete},
    {"attribute_unsupported", kAXErrorAttributeUnsupported},
    {"action_unsupported", kAXErrorActionUnsupported},
    {"not_implemented", kAXErrorNotImplemented},
    {"api_disabled", kAXErrorAPIDisabled},
    {"no_value", kAXErrorNoValue},
    {"parameterized_attribute_unsupported", kAXErrorParameterizedAttributeUnsupported},
};
inline std::string errorName(AXError code) {
  for (const auto& named : kErrorNames) {
    if (named.code == code) return std::string(named.name);
  }
  return std::to_string(code);
}

// The names that world and state files give the event types, both ways.
struct EventTypeName {
  std::string_view name;
  EventType type;
};
inline constexpr EventTypeName kEventTypeNames[] = {
    {"left_mouse_down", EventType::leftMouseDown},
    {"left_mouse_up", EventType::leftMouseUp},
    {"right_mouse_down", EventType::rightMouseDown},
    {"mouse_moved", EventType::mouseMoved},
    {"left_mouse_dragged", EventType::leftMouseDragged},
    {"scroll_wheel", EventType::scrollWheel},
    {"key_down", EventType::keyDown},
    {"key_up", EventType::keyUp},
    {"flags_changed", EventType::flagsChanged},
    {"other_mouse_down", EventType::otherMouseDown},
};
inline std::string eventTypeName(EventType type) {
  for (const auto& known : kEventTypeNames) {
    if (known.type == type) return std::string(known.name);
  }
  return "unknown";
}

}  // namespace textport::sim
