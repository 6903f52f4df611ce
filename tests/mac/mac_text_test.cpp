// Text crosses between the platform's UTF-16 strings and the seam's UTF-8 whole: a lone surrogate
// (web and Electron text, a range that cuts a pair) becomes U+FFFD instead of ending the text, a
// leading byte order mark is kept like any other character, and bytes that are not UTF-8 give no
// string at all.
#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/mac/mac_values.h"

namespace textport {
namespace {

using Units = std::vector<UniChar>;

const std::string kReplacement = "\xEF\xBF\xBD";   // U+FFFD
const std::string kGrinning = "\xF0\x9F\x98\x80";  // U+1F600, the pair D83D DE00

mac::CFHandle<CFStringRef> stringOf(const Units& units) {
  const UniChar none = 0;
  return mac::CFHandle<CFStringRef>::adopt(
      CFStringCreateWithCharacters(kCFAllocatorDefault, units.empty() ? &none : units.data(),
                                   static_cast<CFIndex>(units.size())));
}

Units unitsOf(CFStringRef string) {
  Units units(static_cast<std::size_t>(CFStringGetLength(string)));
  if (units.empty()) return units;
  CFStringGetCharacters(string, CFRangeMake(0, static_cast<CFIndex>(units.size())), units.data());
  return units;
}

TEST(MacTextTest, PlatformStringsBecomeUtf8WholeWithLoneSurrogatesReplaced) {
  const struct {
    const char* name;
    Units units;
    std::string utf8;
  } rows[] = {
      {"empty", {}, ""},
      {"one to three bytes", {'a', 0xE9, 0x4E16}, "a\xC3\xA9\xE4\xB8\x96"},
      {"a pair", {0xD83D, 0xDE00}, kGrinning},
      {"a leading byte order mark", {0xFEFF, 'x'}, "\xEF\xBB\xBFx"},
      {"NUL inside", {'a', 0, 'b'}, std::string("a\0b", 3)},
      {"a high surrogate at the end", {'a', 0xD83D}, "a" + kReplacement},
      {"a high surrogate before text", {0xD83D, 'b'}, kReplacement + "b"},
      {"a low surrogate alone", {'a', 0xDE00, 'b'}, "a" + kReplacement + "b"},
      {"a pair in the wrong order", {0xDE00, 0xD83D}, kReplacement + kReplacement},
      {"two high surrogates, then a low one", {0xD83D, 0xD83D, 0xDE00}, kReplacement + kGrinning},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(mac::toUtf8(stringOf(row.units).get()), row.utf8) << row.name;
  }
  EXPECT_EQ(mac::toUtf8(nullptr), "");
}

TEST(MacTextTest, Utf8BecomesThePlatformsUnitsOrNoStringWhenItIsNotUtf8) {
  const struct {
    const char* name;
    std::string utf8;
    std::optional<Units> units;  // nothing: no string
  } rows[] = {
      {"empty", "", Units{}},
      {"one to three bytes", "a\xC3\xA9\xE4\xB8\x96", Units{'a', 0xE9, 0x4E16}},
      {"four bytes become a pair", kGrinning, Units{0xD83D, 0xDE00}},
      {"the highest code point", "\xF4\x8F\xBF\xBF", Units{0xDBFF, 0xDFFF}},
      {"a leading byte order mark", "\xEF\xBB\xBFx", Units{0xFEFF, 'x'}},
      {"only a byte order mark", "\xEF\xBB\xBF", Units{0xFEFF}},
      {"NUL inside", std::string("a\0b", 3), Units{'a', 0, 'b'}},
      {"a byte that never starts UTF-8", "a\xFF", std::nullopt},
      {"a continuation byte alone", "a\x80", std::nullopt},
      {"an overlong NUL", "\xC0\x80", std::nullopt},
      {"an overlong three-byte form", "\xE0\x80\xAF", std::nullopt},
      {"an overlong four-byte form", "\xF0\x8F\xBF\xBF", std::nullopt},
      {"an encoded surrogate", "\xED\xA0\xBD", std::nullopt},
      {"above U+10FFFF", "\xF4\x90\x80\x80", std::nullopt},
      {"cut short at the end", "ab\xE4\xB8", std::nullopt},
      {"cut short by the next character", std::string("\xE4\xB8") + 'a', std::nullopt},
  };
  for (const auto& row : rows) {
    const auto string = mac::toCFString(row.utf8);
    if (!row.units) {
      EXPECT_FALSE(string) << row.name;
      continue;
    }
    ASSERT_TRUE(string) << row.name;
    EXPECT_EQ(unitsOf(string.get()), *row.units) << row.name;
    EXPECT_EQ(mac::toUtf8(string.get()), row.utf8) << row.name << ": back to the same bytes";
  }
}

}  // namespace
}  // namespace textport
