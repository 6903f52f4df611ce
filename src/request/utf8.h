// Walking UTF-8 one sequence at a time, the way the platform's decoder does: an invalid stretch
// is the longest prefix of a well-formed sequence there ("maximal subpart"), or one byte.
#pragma once

#include <cstddef>
#include <string_view>

namespace textport {

struct Utf8Step {
  std::size_t length;  // bytes taken; at least 1
  bool valid;          // a whole well-formed sequence
};

// The sequence that starts at s[i] (i < s.size()).
inline Utf8Step utf8Step(std::string_view s, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return {1, true};
  std::size_t need;
  // The second byte's range depends on the lead: it rules out overlong forms, surrogates and
  // code points past U+10FFFF. Every later byte is a plain continuation byte.
  unsigned char low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    need = 1;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    need = 2;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    need = 3;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {1, false};
  }
  std::size_t taken = 1;
  for (; taken <= need; ++taken) {
    if (i + taken >= s.size()) return {taken, false};
    const unsigned char c = byte(i + taken);
    if (c < low || c > high) return {taken, false};
    low = 0x80;
    high = 0xBF;
  }
  return {taken, true};
}

}  // namespace textport
