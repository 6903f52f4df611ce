// Canonical equivalence as Core Foundation decides it: only precomposed and decomposed forms
// of the same characters meet; case, compatibility forms and stray bytes still count.
#include <gtest/gtest.h>

#include "json/unicode_equivalence.h"

namespace textport {
namespace {

struct Pair {
  const char* name;
  std::string a;
  std::string b;
  bool equal;
};

TEST(MacCanonicalEquivalence, FoldsCanonicalFormsOnly) {
  const Pair pairs[] = {
      {"identical", "abc", "abc", true},
      {"empty", "", "", true},
      {"e acute, precomposed and combining", "caf\xC3\xA9", "cafe\xCC\x81", true},
      {"Hangul syllable and its jamo", "\xEA\xB0\x80", "\xE1\x84\x80\xE1\x85\xA1", true},
      {"combining marks in either order", "a\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", true},
      {"case differs", "Caf\xC3\xA9", "caf\xC3\xA9", false},
      {"fi ligature is only compatibility-equal", "\xEF\xAC\x81", "fi", false},
      {"trailing space", "abc ", "abc", false},
      {"invalid bytes equal only themselves", "\xFF", "\xFF", true},
      {"invalid bytes against text", "\xFF", "?", false},
  };
  for (const Pair& pair : pairs) {
    EXPECT_EQ(canonicallyEqual(pair.a, pair.b), pair.equal) << pair.name;
    EXPECT_EQ(canonicallyEqual(pair.b, pair.a), pair.equal) << pair.name << " (swapped)";
  }
}

}  // namespace
}  // namespace textport
