// The key that pastes on a keyboard layout: the key whose character with Command held is "v" in
// the layout the system uses for shortcuts. Shared by the backends that post key codes. Standard
// headers only.
#pragma once

#include <cstdint>

namespace textport {

// The "V" position of the ANSI keyboard (kVK_ANSI_V): the paste key on QWERTY-style layouts and the
// fallback when no key of the layout gives "v".
inline constexpr std::uint16_t kAnsiKeyCodeV = 9;
// Key codes 0 to 127 are the keyboard's; higher ones are never character keys.
inline constexpr std::uint16_t kKeyCodeCount = 128;

// `characterWithCommand(code)` answers the character (a char32_t, 0 for none) that key `code` gives
// with Command held. Key 9 when it gives "v" (so QWERTY layouts post exactly what they always did),
// else the lowest key code that gives "v", else key 9.
template <class CharacterWithCommand>
std::uint16_t pasteKeyCode(CharacterWithCommand&& characterWithCommand) {
  if (characterWithCommand(kAnsiKeyCodeV) == U'v') return kAnsiKeyCodeV;
  for (std::uint16_t code = 0; code < kKeyCodeCount; ++code) {
    if (characterWithCommand(code) == U'v') return code;
  }
  return kAnsiKeyCodeV;
}

}  // namespace textport
