#include "platform/mac/mac_values.h"

#include <ApplicationServices/ApplicationServices.h>

#include <optional>
#include <type_traits>
#include <vector>

#include "platform/mac/cf_object.h"
#include "platform/utf16.h"

namespace textport::mac {

// Core Foundation's own UTF-8 encoding (CFStringGetBytes) stops at a lone surrogate, which web
// and Electron text can hold and which a range can cut out of a pair; the units are therefore
// read as they are and encoded here, a lone surrogate becoming U+FFFD.
std::string toUtf8(CFStringRef string) {
  if (!string) return {};
  std::u16string units(static_cast<std::size_t>(CFStringGetLength(string)), u'\0');
  CFStringGetCharacters(string, CFRangeMake(0, static_cast<CFIndex>(units.size())),
                        reinterpret_cast<UniChar*>(units.data()));
  return utf8Of(units);
}

// Core Foundation's UTF-8 decoder drops a leading byte order mark, which is text the user
// selected like any other; the text is therefore decoded here and handed over as UTF-16.
CFHandle<CFStringRef> toCFString(const std::string& utf8) {
  const std::optional<std::u16string> units = utf16Of(utf8, /*strict=*/true);
  if (!units) return {};
  // An empty std::u16string still hands over a valid pointer.
  return CFHandle<CFStringRef>::adopt(CFStringCreateWithCharacters(
      kCFAllocatorDefault, reinterpret_cast<const UniChar*>(units->data()),
      static_cast<CFIndex>(units->size())));
}

namespace {

Value fromAXValue(AXValueRef value, CFTypeRef object) {
  switch (AXValueGetType(value)) {
    case kAXValueTypeCGPoint: {
      CGPoint p;
      if (AXValueGetValue(value, kAXValueTypeCGPoint, &p)) return Point{p.x, p.y};
      break;
    }
    case kAXValueTypeCGSize: {
      CGSize s;
      if (AXValueGetValue(value, kAXValueTypeCGSize, &s)) return Size{s.width, s.height};
      break;
    }
    case kAXValueTypeCGRect: {
      CGRect r;
      if (AXValueGetValue(value, kAXValueTypeCGRect, &r)) {
        return Rect{{r.origin.x, r.origin.y}, {r.size.width, r.size.height}};
      }
      break;
    }
    case kAXValueTypeCFRange: {
      CFRange r;
      if (AXValueGetValue(value, kAXValueTypeCFRange, &r)) return Range{r.location, r.length};
      break;
    }
    default:
      break;
  }
  // An AXValue of another kind (an AXError value) is kept whole for the core to hand back.
  return wrap<Opaque>(CFHandle<CFTypeRef>::retain(object));
}

Value fromNumber(CFNumberRef number) {
  if (CFNumberIsFloatType(number)) {
    double d = 0;
    CFNumberGetValue(number, kCFNumberFloat64Type, &d);
    return d;
  }
  std::int64_t i = 0;
  CFNumberGetValue(number, kCFNumberSInt64Type, &i);
  return i;
}

template <class AXType>
CFHandle<CFTypeRef> axValue(AXValueType type, const AXType& value) {
  return CFHandle<CFTypeRef>::adopt(AXValueCreate(type, &value));
}

}  // namespace

Value toValue(CFTypeRef object) {
  if (!object) return Value();
  const CFTypeID type = CFGetTypeID(object);
  if (type == AXUIElementGetTypeID()) return wrap<Element>(CFHandle<CFTypeRef>::retain(object));
  if (type == CFBooleanGetTypeID()) {
    return static_cast<bool>(CFBooleanGetValue(static_cast<CFBooleanRef>(object)));
  }
  if (type == CFNumberGetTypeID()) return fromNumber(static_cast<CFNumberRef>(object));
  if (type == CFStringGetTypeID()) return toUtf8(static_cast<CFStringRef>(object));
  if (type == AXValueGetTypeID()) return fromAXValue(static_cast<AXValueRef>(object), object);
  if (type == CFAttributedStringGetTypeID()) {
    return AttributedString{
        toUtf8(CFAttributedStringGetString(static_cast<CFAttributedStringRef>(object)))};
  }
  if (type == CFArrayGetTypeID()) {
    const auto array = static_cast<CFArrayRef>(object);
    ValueList list;
    const CFIndex count = CFArrayGetCount(array);
    list.reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) list.push_back(toValue(CFArrayGetValueAtIndex(array, i)));
    return list;
  }
  // Anything else (text markers and their ranges, dictionaries, URLs) is only ever handed back
  // to the platform, so it stays the platform's object.
  return wrap<Opaque>(CFHandle<CFTypeRef>::retain(object));
}

CFHandle<CFTypeRef> toCFObject(const Value& value) {
  return std::visit(
      [](const auto& v) -> CFHandle<CFTypeRef> {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return {};
        } else if constexpr (std::is_same_v<T, bool>) {
          return CFHandle<CFTypeRef>::retain(v ? kCFBooleanTrue : kCFBooleanFalse);
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
          const std::int64_t n = v;
          return CFHandle<CFTypeRef>::adopt(
              CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &n));
        } else if constexpr (std::is_same_v<T, double>) {
          const double d = v;
          return CFHandle<CFTypeRef>::adopt(
              CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &d));
        } else if constexpr (std::is_same_v<T, std::string>) {
          return CFHandle<CFTypeRef>::retain(toCFString(v).get());
        } else if constexpr (std::is_same_v<T, Element> || std::is_same_v<T, Opaque>) {
          return CFHandle<CFTypeRef>::retain(unwrap(v));
        } else if constexpr (std::is_same_v<T, ValueList>) {
          std::vector<CFHandle<CFTypeRef>> items;
          std::vector<CFTypeRef> refs;
          for (const Value& item : v) {
            items.push_back(toCFObject(item));
            // A list cannot hold null, so an element without a platform object becomes kCFNull.
            refs.push_back(items.back() ? items.back().get() : kCFNull);
          }
          return CFHandle<CFTypeRef>::adopt(CFArrayCreate(kCFAllocatorDefault, refs.data(),
                                                          static_cast<CFIndex>(refs.size()),
                                                          &kCFTypeArrayCallBacks));
        } else if constexpr (std::is_same_v<T, Point>) {
          return axValue(kAXValueTypeCGPoint, CGPointMake(v.x, v.y));
        } else if constexpr (std::is_same_v<T, Size>) {
          return axValue(kAXValueTypeCGSize, CGSizeMake(v.width, v.height));
        } else if constexpr (std::is_same_v<T, Rect>) {
          return axValue(kAXValueTypeCGRect,
                         CGRectMake(v.origin.x, v.origin.y, v.size.width, v.size.height));
        } else if constexpr (std::is_same_v<T, Range>) {
          return axValue(kAXValueTypeCFRange, CFRangeMake(static_cast<CFIndex>(v.location),
                                                          static_cast<CFIndex>(v.length)));
        } else {
          static_assert(std::is_same_v<T, AttributedString>);
          const auto text = toCFString(v.text);
          if (!text) return {};  // not UTF-8: there is no string to attribute
          const auto noAttributes = CFHandle<CFDictionaryRef>::adopt(
              CFDictionaryCreate(kCFAllocatorDefault, nullptr, nullptr, 0,
                                 &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
          return CFHandle<CFTypeRef>::adopt(
              CFAttributedStringCreate(kCFAllocatorDefault, text.get(), noAttributes.get()));
        }
      },
      value.data);
}

}  // namespace textport::mac
