// UTF-8 and UTF-16 for the backends: accessibility counts text in UTF-16 units, and platform
// strings are UTF-16, while the seam carries UTF-8. Standard headers only; not part of the seam.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace textport {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// The code point of the well-formed UTF-8 sequence at `at`, which is advanced past it; nothing
// (and `at` unchanged) for bytes that are not one: overlong forms, encoded surrogates, values
// above U+10FFFF, sequences cut short, stray continuation bytes.
inline std::optional<char32_t> decodeUtf8(std::string_view text, std::size_t& at) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) return byte(at++);
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

inline void appendUtf8(std::string& out, char32_t c) {
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

// The UTF-16 units of UTF-8 text. A byte that starts no well-formed sequence becomes U+FFFD, or,
// when `strict`, makes the whole result nothing.
inline std::optional<std::u16string> utf16Of(std::string_view utf8, bool strict) {
  std::u16string out;
  out.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    std::optional<char32_t> c = decodeUtf8(utf8, at);
    if (!c) {
      if (strict) return std::nullopt;
      c = kReplacementCharacter;
      ++at;
    }
    if (*c >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((*c - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((*c - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(*c);
    }
  }
  return out;
}

// The UTF-8 of UTF-16 units; a lone surrogate becomes U+FFFD.
inline std::string utf8Of(std::u16string_view utf16) {
  const auto high = [](char16_t u) { return u >= 0xD800 && u <= 0xDBFF; };
  const auto low = [](char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; };
  std::string out;
  out.reserve(utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    const char16_t u = utf16[i];
    if (high(u) && i + 1 < utf16.size() && low(utf16[i + 1])) {
      appendUtf8(out, 0x10000 + ((char32_t{u} - 0xD800) << 10) + (utf16[++i] - 0xDC00));
    } else {
      appendUtf8(out, high(u) || low(u) ? kReplacementCharacter : char32_t{u});
    }
  }
  return out;
}

}  // namespace textport
