#include "request/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace textport {

namespace {

// Seventeen significant digits, correctly rounded, always read back as the same double.
constexpr int kMaxDigits = 17;

// A decimal as printf's %e writes it: "-1.25e+03".
struct Scientific {
  char text[32];
  int size = 0;
};

Scientific rounded(double d, int digits) {
  Scientific s;
  s.size = std::snprintf(s.text, sizeof s.text, "%.*e", digits - 1, d);
  return s;
}

// The next decimal away from zero with as many digits: "1.25e+03" → "1.26e+03",
// "9.9e+03" → "1.0e+04".
Scientific nextAwayFromZero(Scientific s) {
  const int e = static_cast<int>(std::strchr(s.text, 'e') - s.text);
  const int first = s.text[0] == '-' ? 1 : 0;
  for (int i = e - 1; i >= first; --i) {
    if (s.text[i] == '.') continue;
    if (s.text[i] != '9') {
      ++s.text[i];
      return s;
    }
    s.text[i] = '0';
  }
  // Every digit was 9: one followed by zeros, one power of ten up.
  s.text[first] = '1';
  const int exponent = std::atoi(s.text + e + 1) + 1;
  s.size = e + 1 + std::snprintf(s.text + e + 1, sizeof s.text - e - 1, "%+03d", exponent);
  return s;
}

// The decimal with `digits` significant digits that reads back as d, nearest to d, if there is
// one. Usually that is d correctly rounded. Only at a power of two is the gap to the next smaller
// double half the gap to the next larger one; there the rounded decimal may fall short on the
// narrow side while the next one on the wide side still reads back.
bool readsBack(double d, int digits, Scientific& out) {
  Scientific s = rounded(d, digits);
  const double back = std::strtod(s.text, nullptr);
  if (back == d) {
    out = s;
    return true;
  }
  int unused;
  if (std::fabs(std::frexp(d, &unused)) != 0.5 || std::fabs(back) > std::fabs(d)) return false;
  s = nextAwayFromZero(s);
  if (std::strtod(s.text, nullptr) != d) return false;
  out = s;
  return true;
}

// The shortest decimal that reads back as d. If some n-digit decimal reads back, so does an
// (n + 1)-digit one (append a zero), so the digit count is found by bisection rather than by
// trying every count from 1 up; most doubles need 16 or 17 digits, so 16 and 15 are tried first.
Scientific shortest(double d) {
  Scientific best;
  int low = 1, high = kMaxDigits;  // `high` digits read back; fewer than `low` do not
  bool haveBest = false;
  const auto probe = [&](int digits) {
    if (readsBack(d, digits, best)) {
      high = digits;
      haveBest = true;
    } else {
      low = digits + 1;
    }
  };
  for (const int digits : {16, 15}) {
    if (digits >= low && digits < high) probe(digits);
  }
  while (low < high) probe(low + (high - low) / 2);
  return haveBest ? best : rounded(d, kMaxDigits);
}

std::to_chars_result put(char* first, char* last, std::string_view text) {
  if (text.size() > static_cast<std::size_t>(last - first)) {
    return {last, std::errc::value_too_large};
  }
  return {std::copy(text.begin(), text.end(), first), std::errc{}};
}

}  // namespace

std::to_chars_result printfToChars(char* first, char* last, double d) {
  if (!std::isfinite(d)) return {first, std::errc::invalid_argument};
  const Scientific s = shortest(d);
  const std::string_view scientific(s.text, static_cast<std::size_t>(s.size));

  // Outside these exponents the fixed form is always longer: below 1e-4 its leading zeros cost
  // more than "e-05", and from 1e23 up it has more digits than any scientific form has characters.
  const std::size_t e = scientific.find('e');
  const int exponent = std::atoi(s.text + e + 1);
  if (exponent < -4 || exponent > 22) return put(first, last, scientific);

  const bool negative = s.text[0] == '-';
  char digits[kMaxDigits];
  int count = 0;
  for (std::size_t i = negative ? 1 : 0; i < e; ++i) {
    if (s.text[i] != '.') digits[count++] = s.text[i];
  }
  char fixed[48];
  int size = 0;
  if (exponent >= count - 1) {
    // A whole number: all of its digits, not the shortest ones followed by zeros.
    size = std::snprintf(fixed, sizeof fixed, "%.0f", d);
  } else {
    if (negative) fixed[size++] = '-';
    if (exponent < 0) {
      fixed[size++] = '0';
      fixed[size++] = '.';
      for (int i = exponent + 1; i < 0; ++i) fixed[size++] = '0';
      for (int i = 0; i < count; ++i) fixed[size++] = digits[i];
    } else {
      for (int i = 0; i < count; ++i) {
        if (i == exponent + 1) fixed[size++] = '.';
        fixed[size++] = digits[i];
      }
    }
  }
  const std::string_view fixedText(fixed, static_cast<std::size_t>(size));
  return put(first, last, fixedText.size() <= scientific.size() ? fixedText : scientific);
}

}  // namespace textport
