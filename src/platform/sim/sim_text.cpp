#include "platform/sim/sim_text.h"

#include <array>

#include "platform/utf16.h"

namespace textport::sim {
namespace {

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
  return *utf16Of(utf8, /*strict=*/false);
}

std::string toUtf8(std::u16string_view utf16) {
  return utf8Of(utf16);
}

bool isUtf8(const Bytes& bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (std::size_t at = 0; at < text.size();) {
    if (!decodeUtf8(text, at)) return false;
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
