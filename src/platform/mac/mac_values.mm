#include "platform/mac/mac_values.h"

#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <optional>
#include <type_traits>
#include <vector>

#include "platform/mac/cf_object.h"

namespace textport::mac {

namespace {

constexpr UniChar kReplacementCharacter = 0xFFFD;
bool isHighSurrogate(UniChar unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(UniChar unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// UTF-16 units to UTF-8, fed in pieces: a surrogate pair may be split between two of them.
class Utf8Writer {
 public:
  explicit Utf8Writer(std::string& out) : out_(out) {}
  void add(const UniChar* units, CFIndex count) {
    for (CFIndex i = 0; i < count; ++i) addUnit(units[i]);
  }
  void finish() { flushHigh(); }

 private:
  void addUnit(UniChar unit) {
    if (high_ && isLowSurrogate(unit)) {
      appendUtf8(out_, 0x10000 + ((char32_t{high_} - 0xD800) << 10) + (unit - 0xDC00));
      high_ = 0;
      return;
    }
    flushHigh();
    if (isHighSurrogate(unit)) {
      high_ = unit;
    } else {
      appendUtf8(out_, isLowSurrogate(unit) ? kReplacementCharacter : unit);
    }
  }

  // A high surrogate that the next unit (or the end) does not complete stands alone.
  void flushHigh() {
    if (high_) appendUtf8(out_, kReplacementCharacter);
    high_ = 0;
  }

  std::string& out_;
  UniChar high_ = 0;
};

// The code point of one well-formed UTF-8 sequence at `at` (advanced past it), or nothing for
// bytes that are not one: overlong forms, encoded surrogates, values above U+10FFFF, sequences
// cut short, stray continuation bytes.
std::optional<char32_t> decodeUtf8(const std::string& text, std::size_t& at) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) {
    ++at;
    return lead;
  }
  std::size_t length = 0;
  char32_t c = 0;
  // The second byte's range is narrower than 80..BF where that rules out the forms above.
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    c = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    c = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    c = lead & 0x07;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return std::nullopt;
  }
  if (text.size() - at < length) return std::nullopt;
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char next = byte(at + i);
    if (next < (i == 1 ? low : 0x80) || next > (i == 1 ? high : 0xBF)) return std::nullopt;
    c = (c << 6) | (next & 0x3F);
  }
  at += length;
  return c;
}

}  // namespace

// Core Foundation's own UTF-8 encoding (CFStringGetBytes) stops at a lone surrogate, which web
// and Electron text can hold and which a range can cut out of a pair; the units are therefore
// read as they are and encoded here, a lone surrogate becoming U+FFFD.
std::string toUtf8(CFStringRef string) {
  if (!string) return {};
  const CFIndex length = CFStringGetLength(string);
  std::string out;
  out.reserve(static_cast<std::size_t>(length));
  Utf8Writer writer(out);
  constexpr CFIndex kChunk = 1024;
  UniChar chunk[kChunk];
  for (CFIndex at = 0; at < length; at += kChunk) {
    const CFIndex count = std::min(kChunk, length - at);
    CFStringGetCharacters(string, CFRangeMake(at, count), chunk);
    writer.add(chunk, count);
  }
  writer.finish();
  return out;
}

// Core Foundation's UTF-8 decoder drops a leading byte order mark, which is text the user
// selected like any other; the text is therefore decoded here and handed over as UTF-16.
CFHandle<CFStringRef> toCFString(const std::string& utf8) {
  std::vector<UniChar> units;
  units.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    const std::optional<char32_t> c = decodeUtf8(utf8, at);
    if (!c) return {};
    if (*c < 0x10000) {
      units.push_back(static_cast<UniChar>(*c));
    } else {
      units.push_back(static_cast<UniChar>(0xD800 + ((*c - 0x10000) >> 10)));
      units.push_back(static_cast<UniChar>(0xDC00 + ((*c - 0x10000) & 0x3FF)));
    }
  }
  const UniChar none = 0;  // the empty text still hands over a valid pointer
  return CFHandle<CFStringRef>::adopt(
      CFStringCreateWithCharacters(kCFAllocatorDefault, units.empty() ? &none : units.data(),
                                   static_cast<CFIndex>(units.size())));
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
