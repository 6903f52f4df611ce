#include "platform/sim/sim_text.h"

#include <array>

namespace textport::sim {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one code point at `i`, advancing it; malformed input yields U+FFFD for one byte.
char32_t decodeUtf8(std::string_view s, std::size_t& i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(i);
  int extra = 0;
  char32_t cp = 0;
  char32_t min = 0;
  if (lead < 0x80) {
    ++i;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    extra = 1, cp = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, cp = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, cp = lead & 0x07, min = 0x10000;
  } else {
    ++i;
    return kReplacement;
  }
  if (i + extra >= s.size()) {  // truncated sequence
    ++i;
    return kReplacement;
  }
  for (int k = 1; k <= extra; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) {
      ++i;
      return kReplacement;
    }
    cp = (cp << 6) | (byte(i + k) & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++i;
    return kReplacement;
  }
  i += extra + 1;
  return cp;
}

void appendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::u16string toUtf16(std::string_view utf8) {
  std::u16string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = decodeUtf8(utf8, i);
    if (cp >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(cp);
    }
  }
  return out;
}

std::string toUtf8(std::u16string_view utf16) {
  std::string out;
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    const char16_t u = utf16[i];
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
        utf16[i + 1] <= 0xDFFF) {
      appendUtf8(out, 0x10000 + ((char32_t(u) - 0xD800) << 10) + (utf16[i + 1] - 0xDC00));
      ++i;
    } else if (u >= 0xD800 && u <= 0xDFFF) {
      appendUtf8(out, kReplacement);
    } else {
      appendUtf8(out, u);
    }
  }
  return out;
}

bool isUtf8(const Bytes& bytes) {
  const std::string_view s(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t at = i;
    const char32_t cp = decodeUtf8(s, i);
    // A genuine U+FFFD takes three bytes; a one-byte step with U+FFFD is a decoding failure.
    if (cp == kReplacement && i - at == 1) return false;
  }
  return true;
}

std::string toBase64(const Bytes& bytes) {
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const std::uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    for (int shift : {18, 12, 6, 0}) out += kBase64[(n >> shift) & 0x3F];
  }
  if (i + 1 == bytes.size()) {
    const std::uint32_t n = bytes[i] << 16;
    out += kBase64[(n >> 18) & 0x3F];
    out += kBase64[(n >> 12) & 0x3F];
    out += "==";
  } else if (i + 2 == bytes.size()) {
    const std::uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8);
    out += kBase64[(n >> 18) & 0x3F];
    out += kBase64[(n >> 12) & 0x3F];
    out += kBase64[(n >> 6) & 0x3F];
    out += '=';
  }
  return out;
}

std::optional<Bytes> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  Bytes out;
  for (std::size_t i = 0; i < text.size(); i += 4) {
    std::array<int, 4> v{};
    int padding = 0;
    for (int k = 0; k < 4; ++k) {
      const char c = text[i + k];
      if (c == '=' && i + 4 == text.size() && k >= 2) {
        ++padding;
        v[k] = 0;
        continue;
      }
      if (padding > 0) return std::nullopt;  // data after padding
      const auto pos = kBase64.find(c);
      if (pos == std::string_view::npos) return std::nullopt;
      v[k] = static_cast<int>(pos);
    }
    const std::uint32_t n = (v[0] << 18) | (v[1] << 12) | (v[2] << 6) | v[3];
    out.push_back(static_cast<std::uint8_t>(n >> 16));
    if (padding < 2) out.push_back(static_cast<std::uint8_t>(n >> 8));
    if (padding < 1) out.push_back(static_cast<std::uint8_t>(n));
  }
  return out;
}

std::optional<Bytes> fromHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  Bytes out;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int hi = hexDigit(text[i]);
    const int lo = hexDigit(text[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    out.push_back(static_cast<std::uint8_t>(hi * 16 + lo));
  }
  return out;
}

}  // namespace textport::sim
