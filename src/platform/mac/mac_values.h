// Conversions between Core Foundation objects and the seam's values, made at the boundary.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>

#include "platform/mac/cf_handle.h"
#include "platform/platform.h"

namespace textport::mac {

// Text crosses the boundary through these two only (NSString by toll-free bridging).
// The UTF-8 text of a whole string, a lone surrogate becoming U+FFFD; empty for a null string.
std::string toUtf8(CFStringRef string);
// The string of UTF-8 text, a leading byte order mark kept; null for bytes that are not UTF-8.
CFHandle<CFStringRef> toCFString(const std::string& utf8);

// An attribute value as the seam sees it; null becomes nothing.
Value toValue(CFTypeRef object);
// The platform object for a value; nothing (and an empty Opaque or Element) becomes null.
CFHandle<CFTypeRef> toCFObject(const Value& value);

}  // namespace textport::mac
