// AT-SPI's vocabulary translated into macOS's, without talking to anyone: the one role table,
// menu shortcuts read from key bindings, and text offsets (AT-SPI counts code points, macOS
// UTF-16 units).
#pragma once

#include <atspi/atspi-constants.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/platform.h"

namespace textport::x11 {

// A macOS role and, when it has one, its subrole.
struct MacRole {
  std::string_view role;
  std::optional<std::string_view> subrole;
  friend bool operator==(const MacRole&, const MacRole&) = default;
};

// The role of an element with this AT-SPI role. Text roles become a text area when the element
// is multi-line (MULTI_LINE state) and a text field otherwise; a password field is a text field
// with the secure subrole whatever its lines. Roles the table does not know are "AXUnknown".
MacRole macRole(AtspiRole role, bool multiLine);
// Frames, windows, dialogs and alerts: what macOS calls windows.
bool isWindowRole(AtspiRole role);
// The roles whose AXPress has to open the menus around the element first.
bool isMenuRole(AtspiRole role);

// macOS's menu item modifier bits (kAXMenuItemModifier*); a shortcut with Command has none set.
inline constexpr std::int64_t kMenuModifierShift = 1;
inline constexpr std::int64_t kMenuModifierOption = 2;
inline constexpr std::int64_t kMenuModifierControl = 4;
inline constexpr std::int64_t kMenuModifierNoCommand = 8;

// A menu item's shortcut as macOS tells it: the key's character ("C") and modifier bits.
struct MenuShortcut {
  std::string character;
  std::int64_t modifiers = 0;
  friend bool operator==(const MenuShortcut&, const MenuShortcut&) = default;
};

// The shortcut in an Action key binding, "<mnemonic>;<menu path>;<accelerator>" as GTK writes it
// ("c;<Alt>e:c;<Primary>c"), or a lone accelerator in GTK's or Qt's form ("<Primary>c",
// "Ctrl+C"). Control (Primary) stands for Command, since it is the shortcut key on Linux; Super,
// Meta and Hyper count as macOS's Control, so that no such shortcut passes for a Command one.
// Nothing when there is no accelerator or its key is not one character (F1, Delete).
std::optional<MenuShortcut> menuShortcut(std::string_view keyBinding);

// The UTF-16 range of the code point range [start, end) of UTF-8 text. Offsets past the end
// count one unit per missing code point; a byte that starts no well-formed sequence counts as
// one code point (U+FFFD).
Range utf16Range(std::string_view text, std::int64_t start, std::int64_t end);
// The code point range [start, end) of a UTF-16 range of the text; nothing when the range does
// not lie within the text. An end inside a surrogate pair takes in its whole character, a start
// inside one begins at it.
std::optional<std::pair<std::int64_t, std::int64_t>> codePointRange(std::string_view text,
                                                                    Range range);

}  // namespace textport::x11
