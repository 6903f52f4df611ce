// printfToChars stands in for std::to_chars where the C++ library has no floating-point
// to_chars; here, where both exist, the two must write the same bytes.
#include "request/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace textport {
namespace {

constexpr std::size_t kSamples = 1'000'000;

// Doubles where the choice of digits or of form changes, with both signs: powers of two and of
// ten and the limits with their neighbours, integers on both sides of 2^53 and beyond, decimals
// with few digits (and their neighbours) at every exponent where fixed and scientific forms
// compete; then subnormals and any finite bit pattern.
std::vector<double> samples() {
  std::mt19937_64 random(20240611);
  std::vector<double> out;
  const auto both = [&](double d) { out.insert(out.end(), {d, -d}); };
  const auto add = [&](double d) {  // with its neighbours
    for (const double x : {std::nextafter(d, 0.0), d, std::nextafter(d, HUGE_VAL)}) {
      if (std::isfinite(x)) both(x);
    }
  };
  for (int k = -1074; k <= 1023; ++k) add(std::ldexp(1.0, k));
  for (int k = -324; k <= 308; ++k) add(std::strtod(("1e" + std::to_string(k)).c_str(), nullptr));
  for (const double d : {0.0, 0.1, 0.3, 123.45, 1e21, 1e-7, 1.5e-5, 123456789012345680000.0,
                         std::numeric_limits<double>::max(), std::numeric_limits<double>::min()}) {
    add(d);
  }
  for (int k = 50; k <= 66; ++k) {
    for (int j = -1000; j <= 1000; ++j) both(std::ldexp(1.0, k) + j);
  }
  // Up to nine digits times a power of ten, as a person would write them.
  for (int i = 0; i < 50'000; ++i) {
    std::uint64_t mantissa = random() % 1'000'000'000;
    for (auto digits = random() % 9; digits > 0; --digits) mantissa /= 10;
    const int exponent = static_cast<int>(random() % 61) - 30;
    add(std::strtod((std::to_string(mantissa) + "e" + std::to_string(exponent)).c_str(), nullptr));
  }
  for (int i = 0; i < 20'000; ++i)
    out.push_back(std::bit_cast<double>(random() & 0x800F'FFFF'FFFF'FFFFu));
  while (out.size() < kSamples) {
    const double d = std::bit_cast<double>(random());
    if (std::isfinite(d)) out.push_back(d);
  }
  return out;
}

TEST(NumberText, WritesWhatToCharsWritesForAMillionDoubles) {
  int mismatches = 0;
  for (const double d : samples()) {
    char expected[32], actual[32];
    const auto want = std::to_chars(expected, expected + sizeof expected, d);
    const auto got = printfToChars(actual, actual + sizeof actual, d);
    const std::string_view wantText(expected, want.ptr), gotText(actual, got.ptr);
    if (got.ec == std::errc{} && gotText == wantText) continue;
    if (++mismatches <= 5) {
      ADD_FAILURE() << std::hexfloat << d << ": to_chars \"" << wantText << "\", printfToChars \""
                    << gotText << "\"";
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace textport
