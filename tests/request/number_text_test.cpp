// printfToChars stands in for std::to_chars where the C++ library has no floating-point
// to_chars; here, where both exist, the two must write the same bytes.
#include "request/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace textport {
namespace {

constexpr std::size_t kSamples = 1'000'000;

void pushBothSigns(std::vector<double>& out, double d) {
  if (!std::isfinite(d)) return;
  out.push_back(d);
  out.push_back(-d);
}

// Doubles where the choice of digits or of form changes: powers of two and of ten with their
// neighbours, integers on both sides of 2^53 and beyond, decimals with few digits at every
// exponent where fixed and scientific forms compete, and the limits.
std::vector<double> samples() {
  std::mt19937_64 random(20240611);
  std::vector<double> out;
  out.reserve(kSamples);
  const auto withNeighbours = [&](double d) {
    for (const double x : {std::nextafter(d, 0.0), d, std::nextafter(d, HUGE_VAL)}) {
      pushBothSigns(out, x);
    }
  };
  for (int k = -1074; k <= 1023; ++k) withNeighbours(std::ldexp(1.0, k));
  for (int k = -324; k <= 308; ++k) {
    withNeighbours(std::strtod(("1e" + std::to_string(k)).c_str(), nullptr));
  }
  for (const double d : {0.0, 0.1, 0.3, 123.45, 1e21, 1e-7, 1.5e-5, 123456789012345680000.0,
                         std::numeric_limits<double>::max(), std::numeric_limits<double>::min()}) {
    withNeighbours(d);
  }
  for (int k = 50; k <= 66; ++k) {
    for (int j = -1000; j <= 1000; ++j) pushBothSigns(out, std::ldexp(1.0, k) + j);
  }
  // Up to nine digits times a power of ten, as a person would write them.
  for (int i = 0; i < 150'000; ++i) {
    const int digits = 1 + static_cast<int>(random() % 9);
    std::uint64_t mantissa = random() % 1'000'000'000;
    for (int d = 9; d > digits; --d) mantissa /= 10;
    const int exponent = static_cast<int>(random() % 61) - 30;
    const std::string text = std::to_string(mantissa) + "e" + std::to_string(exponent);
    pushBothSigns(out, std::strtod(text.c_str(), nullptr));
  }
  for (int i = 0; i < 20'000; ++i) {  // subnormals
    out.push_back(std::bit_cast<double>(random() & 0x800F'FFFF'FFFF'FFFFu));
  }
  while (out.size() < kSamples) {  // any finite bit pattern
    const double d = std::bit_cast<double>(random());
    if (std::isfinite(d)) out.push_back(d);
  }
  return out;
}

TEST(NumberText, WritesWhatToCharsWritesForAMillionDoubles) {
  const std::vector<double> all = samples();
  ASSERT_EQ(all.size(), kSamples);
  int mismatches = 0;
  for (const double d : all) {
    char expected[32], actual[32];
    const auto want = std::to_chars(expected, expected + sizeof expected, d);
    const auto got = printfToChars(actual, actual + sizeof actual, d);
    const std::string_view wantText(expected, want.ptr), gotText(actual, got.ptr);
    if (got.ec == std::errc{} && gotText == wantText) continue;
    if (++mismatches <= 5) {
      char bits[20];
      std::snprintf(bits, sizeof bits, "%016llx",
                    static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(d)));
      ADD_FAILURE() << "bits " << bits << ": to_chars \"" << wantText << "\", printfToChars \""
                    << gotText << "\"";
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace textport
