#include "platform/linux/atspi_vocabulary.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "platform/utf16.h"

namespace textport::x11 {

namespace {

struct RoleRow {
  AtspiRole atspi;
  std::string_view role;
  std::optional<std::string_view> subrole;
};

// Text roles (TEXT, ENTRY, EDITBAR, PASSWORD_TEXT) depend on the element's lines and are handled
// before this table.
constexpr RoleRow kRoles[] = {
    {ATSPI_ROLE_TERMINAL, "AXTextArea", std::nullopt},
    {ATSPI_ROLE_COMBO_BOX, "AXComboBox", std::nullopt},
    {ATSPI_ROLE_MENU_BAR, "AXMenuBar", std::nullopt},
    {ATSPI_ROLE_MENU, "AXMenu", std::nullopt},
    {ATSPI_ROLE_POPUP_MENU, "AXMenu", std::nullopt},
    {ATSPI_ROLE_MENU_ITEM, "AXMenuItem", std::nullopt},
    {ATSPI_ROLE_CHECK_MENU_ITEM, "AXMenuItem", std::nullopt},
    {ATSPI_ROLE_RADIO_MENU_ITEM, "AXMenuItem", std::nullopt},
    {ATSPI_ROLE_TEAROFF_MENU_ITEM, "AXMenuItem", std::nullopt},
    {ATSPI_ROLE_FRAME, "AXWindow", "AXStandardWindow"},
    {ATSPI_ROLE_WINDOW, "AXWindow", std::nullopt},
    {ATSPI_ROLE_DIALOG, "AXWindow", "AXDialog"},
    {ATSPI_ROLE_ALERT, "AXWindow", "AXDialog"},
    {ATSPI_ROLE_APPLICATION, "AXApplication", std::nullopt},
    {ATSPI_ROLE_PUSH_BUTTON, "AXButton", std::nullopt},
    {ATSPI_ROLE_TOGGLE_BUTTON, "AXCheckBox", "AXToggle"},
    {ATSPI_ROLE_CHECK_BOX, "AXCheckBox", std::nullopt},
    {ATSPI_ROLE_RADIO_BUTTON, "AXRadioButton", std::nullopt},
    {ATSPI_ROLE_PANEL, "AXGroup", std::nullopt},
    {ATSPI_ROLE_FILLER, "AXGroup", std::nullopt},
    {ATSPI_ROLE_SECTION, "AXGroup", std::nullopt},
    {ATSPI_ROLE_GROUPING, "AXGroup", std::nullopt},
    {ATSPI_ROLE_FORM, "AXGroup", std::nullopt},
    {ATSPI_ROLE_SCROLL_PANE, "AXScrollArea", std::nullopt},
    {ATSPI_ROLE_SCROLL_BAR, "AXScrollBar", std::nullopt},
    {ATSPI_ROLE_LABEL, "AXStaticText", std::nullopt},
    {ATSPI_ROLE_STATIC, "AXStaticText", std::nullopt},
    {ATSPI_ROLE_LINK, "AXLink", std::nullopt},
    {ATSPI_ROLE_IMAGE, "AXImage", std::nullopt},
    {ATSPI_ROLE_LIST, "AXList", std::nullopt},
    {ATSPI_ROLE_LIST_BOX, "AXList", std::nullopt},
    {ATSPI_ROLE_TABLE, "AXTable", std::nullopt},
    {ATSPI_ROLE_TREE_TABLE, "AXOutline", std::nullopt},
    {ATSPI_ROLE_TOOL_BAR, "AXToolbar", std::nullopt},
    {ATSPI_ROLE_PAGE_TAB_LIST, "AXTabGroup", std::nullopt},
};

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// What one modifier name adds; nothing for a name that is no modifier.
struct ModifierEffect {
  bool command = false;
  std::int64_t bits = 0;
};
std::optional<ModifierEffect> modifierNamed(std::string_view name) {
  const auto is = [name](std::initializer_list<std::string_view> names) {
    for (std::string_view candidate : names) {
      if (equalsIgnoringCase(name, candidate)) return true;
    }
    return false;
  };
  if (is({"Primary", "Control", "Ctrl", "Ctl"})) return ModifierEffect{true, 0};
  if (is({"Shift"})) return ModifierEffect{false, kMenuModifierShift};
  if (is({"Alt", "Mod1", "Option"})) return ModifierEffect{false, kMenuModifierOption};
  if (is({"Super", "Meta", "Hyper", "Mod4"})) return ModifierEffect{false, kMenuModifierControl};
  return std::nullopt;
}

// The character macOS shows for a key: letters in upper case, keysym names of punctuation as
// the character itself.
std::optional<std::string> keyCharacter(std::string_view key) {
  if (key.size() == 1) {
    return std::string(1, static_cast<char>(std::toupper(static_cast<unsigned char>(key[0]))));
  }
  static constexpr std::pair<std::string_view, std::string_view> kNamed[] = {
      {"plus", "+"},       {"minus", "-"}, {"equal", "="},       {"comma", ","},
      {"period", "."},     {"slash", "/"}, {"backslash", "\\"},  {"semicolon", ";"},
      {"apostrophe", "'"}, {"grave", "`"}, {"bracketleft", "["}, {"bracketright", "]"},
      {"question", "?"},   {"space", " "},
  };
  for (const auto& [name, character] : kNamed) {
    if (equalsIgnoringCase(key, name)) return std::string(character);
  }
  // A single non-ASCII character, e.g. a letter of another script.
  std::size_t at = 0;
  if (decodeUtf8(key, at) && at == key.size()) return std::string(key);
  return std::nullopt;
}

std::optional<MenuShortcut> shortcutOf(std::string_view key, bool command, std::int64_t bits) {
  auto character = keyCharacter(key);
  if (!character) return std::nullopt;
  return MenuShortcut{std::move(*character), bits | (command ? 0 : kMenuModifierNoCommand)};
}

// "<Primary><Shift>c"
std::optional<MenuShortcut> gtkAccelerator(std::string_view text) {
  bool command = false;
  std::int64_t bits = 0;
  while (!text.empty() && text.front() == '<') {
    const std::size_t close = text.find('>');
    if (close == std::string_view::npos) return std::nullopt;
    // Unknown names (<Release>, <Mod5>) add nothing.
    if (auto effect = modifierNamed(text.substr(1, close - 1))) {
      command = command || effect->command;
      bits |= effect->bits;
    }
    text.remove_prefix(close + 1);
  }
  return shortcutOf(text, command, bits);
}

// "Ctrl+Shift+C", "Ctrl++"
std::optional<MenuShortcut> plusAccelerator(std::string_view text) {
  bool command = false;
  std::int64_t bits = 0;
  while (true) {
    const std::size_t plus = text.find('+', 1);
    if (plus == std::string_view::npos) break;
    auto effect = modifierNamed(text.substr(0, plus));
    if (!effect) return std::nullopt;
    command = command || effect->command;
    bits |= effect->bits;
    text.remove_prefix(plus + 1);
  }
  return shortcutOf(text, command, bits);
}

}  // namespace

MacRole macRole(AtspiRole role, bool multiLine) {
  switch (role) {
    case ATSPI_ROLE_PASSWORD_TEXT:
      return {"AXTextField", "AXSecureTextField"};
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_EDITBAR:
      return {multiLine ? "AXTextArea" : "AXTextField", std::nullopt};
    default:
      break;
  }
  for (const RoleRow& row : kRoles) {
    if (row.atspi == role) return {row.role, row.subrole};
  }
  return {"AXUnknown", std::nullopt};
}

bool isWindowRole(AtspiRole role) {
  return role == ATSPI_ROLE_FRAME || role == ATSPI_ROLE_WINDOW || role == ATSPI_ROLE_DIALOG ||
         role == ATSPI_ROLE_ALERT;
}

bool isMenuRole(AtspiRole role) {
  return macRole(role, false).role == "AXMenuItem" || role == ATSPI_ROLE_MENU;
}

std::optional<MenuShortcut> menuShortcut(std::string_view keyBinding) {
  std::vector<std::string_view> parts;
  for (std::size_t start = 0;;) {
    const std::size_t semicolon = keyBinding.find(';', start);
    parts.push_back(keyBinding.substr(start, semicolon - start));
    if (semicolon == std::string_view::npos) break;
    start = semicolon + 1;
  }
  std::string_view accelerator;
  if (parts.size() >= 3) {
    accelerator = parts[2];
  } else if (parts.size() == 1 && parts[0].size() > 1) {
    accelerator = parts[0];  // a lone accelerator; a lone character is a mnemonic
  }
  if (accelerator.empty()) return std::nullopt;
  if (accelerator.front() == '<') return gtkAccelerator(accelerator);
  return plusAccelerator(accelerator);
}

namespace {

// Walks UTF-8 text one code point at a time.
class CodePoints {
 public:
  explicit CodePoints(std::string_view text) : text_(text) {}
  bool more() const { return at_ < text_.size(); }
  // Steps over one code point and returns its number of UTF-16 units.
  std::int64_t step() {
    const std::optional<char32_t> c = decodeUtf8(text_, at_);
    if (!c) ++at_;
    return c && *c >= 0x10000 ? 2 : 1;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

std::int64_t utf16Offset(std::string_view text, std::int64_t codePoints) {
  CodePoints walk(text);
  std::int64_t units = 0;
  for (std::int64_t i = 0; i < codePoints; ++i) units += walk.more() ? walk.step() : 1;
  return units;
}

}  // namespace

Range utf16Range(std::string_view text, std::int64_t start, std::int64_t end) {
  start = std::max<std::int64_t>(start, 0);
  end = std::max(end, start);
  const std::int64_t location = utf16Offset(text, start);
  return Range{location, utf16Offset(text, end) - location};
}

std::optional<std::pair<std::int64_t, std::int64_t>> codePointRange(std::string_view text,
                                                                    Range range) {
  if (range.location < 0 || range.length < 0) return std::nullopt;
  const std::int64_t startUnit = range.location;
  const std::int64_t endUnit = range.location + range.length;
  CodePoints walk(text);
  std::int64_t units = 0;  // before the code point at `index`
  std::int64_t index = 0;
  std::int64_t start = 0;
  bool startFound = false;
  while (true) {
    if (!startFound && units >= startUnit) {
      // Past the unit already: it lay inside the previous code point, a surrogate pair.
      start = units == startUnit ? index : index - 1;
      startFound = true;
    }
    if (units >= endUnit) return std::make_pair(start, index);
    if (!walk.more()) return std::nullopt;
    units += walk.step();
    ++index;
  }
}

}  // namespace textport::x11
