// The paste key on the keyboard layout macOS uses for shortcuts (Carbon's Text Input Sources and
// Unicode key layouts): the key that gives "v" with Command held.
#import <Carbon/Carbon.h>

#include "platform/mac/cf_handle.h"
#include "platform/mac/mac_platform.h"
#include "platform/paste_key.h"

namespace textport::mac {

namespace {

// What the key gives with Command held and no other modifier, without dead keys; 0 for none or when
// the layout cannot say.
char32_t characterWithCommand(const UCKeyboardLayout* layout, UInt32 keyboardType, UInt16 keyCode) {
  UInt32 deadKeys = 0;
  UniChar characters[4] = {};
  UniCharCount length = 0;
  const OSStatus status =
      UCKeyTranslate(layout, keyCode, kUCKeyActionDown, (cmdKey >> 8) & 0xFF, keyboardType,
                     1 << kUCKeyTranslateNoDeadKeysBit, &deadKeys, 4, &length, characters);
  if (status != noErr || length != 1) return 0;
  return characters[0];
}

}  // namespace

// Shortcuts are matched against the current ASCII-capable layout (with a Cyrillic layout selected,
// Command still goes by the Latin one the user also has). A layout given only as old-style KCHR
// data, or none at all, leaves key 9: what every QWERTY-style layout pastes with.
std::uint16_t MacPlatform::pasteKey() {
  auto source =
      CFHandle<TISInputSourceRef>::adopt(TISCopyCurrentASCIICapableKeyboardLayoutInputSource());
  if (!source)
    source = CFHandle<TISInputSourceRef>::adopt(TISCopyCurrentKeyboardLayoutInputSource());
  if (!source) return kAnsiKeyCodeV;
  const auto data = static_cast<CFDataRef>(
      TISGetInputSourceProperty(source.get(), kTISPropertyUnicodeKeyLayoutData));
  if (!data) return kAnsiKeyCodeV;
  const auto* layout = reinterpret_cast<const UCKeyboardLayout*>(CFDataGetBytePtr(data));
  const UInt32 keyboardType = LMGetKbdType();
  return pasteKeyCode(
      [&](std::uint16_t code) { return characterWithCommand(layout, keyboardType, code); });
}

}  // namespace textport::mac
