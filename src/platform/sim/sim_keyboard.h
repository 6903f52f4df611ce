// The simulated keyboard: which character each key gives with Command held (the layout the
// system uses for shortcuts) and the modifier keys the user holds down right now.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/paste_key.h"
#include "platform/platform.h"

namespace textport::sim {

// Modifier flags of an event (CGEventFlags).
inline constexpr std::uint64_t kFlagShift = 0x20000;
inline constexpr std::uint64_t kFlagControl = 0x40000;
inline constexpr std::uint64_t kFlagOption = 0x80000;
inline constexpr std::uint64_t kModifierFlags =
    kFlagShift | kFlagControl | kFlagOption | kEventFlagMaskCommand;

struct SimKeyboard {
  // The character of each key code with Command held; 0 for a key that gives none.
  std::array<char32_t, kKeyCodeCount> withCommand{};
  // The modifier flags of the keys held down; events made from the session state carry them.
  std::uint64_t held = 0;

  // The built-in layouts by name: "us" (ANSI QWERTY) and "dvorak"; nothing for another name.
  static std::optional<SimKeyboard> named(std::string_view name);
  char32_t character(std::uint16_t keyCode) const {
    return keyCode < kKeyCodeCount ? withCommand[keyCode] : 0;
  }
  // The key a paste posts on this layout, as a macOS backend chooses it.
  std::uint16_t pasteKey() const {
    return pasteKeyCode([this](std::uint16_t code) { return character(code); });
  }
};

// The flag of a modifier name ("shift", "control", "option", "command"), or nothing.
std::optional<std::uint64_t> modifierFlag(std::string_view name);

}  // namespace textport::sim
