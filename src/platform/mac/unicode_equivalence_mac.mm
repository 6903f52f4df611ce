// Canonical equivalence with Core Foundation, for builds without utf8proc: both strings are
// brought to the canonical decomposition (NFD) and compared character for character.
#include <CoreFoundation/CoreFoundation.h>

#include <string>

#include "json/unicode_equivalence.h"
#include "platform/mac/cf_handle.h"

namespace textport {

namespace {
// The NFD form, or null when the bytes are not UTF-8.
mac::CFHandle<CFMutableStringRef> decomposed(std::string_view utf8) {
  const auto string = mac::CFHandle<CFStringRef>::adopt(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(utf8.data()),
                              static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false));
  if (!string) return {};
  auto mutableString = mac::CFHandle<CFMutableStringRef>::adopt(
      CFStringCreateMutableCopy(kCFAllocatorDefault, 0, string.get()));
  if (mutableString) CFStringNormalize(mutableString.get(), kCFStringNormalizationFormD);
  return mutableString;
}
}  // namespace

// Invalid UTF-8 equals only the very same bytes, the rule the utf8proc build follows too.
bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  const auto da = decomposed(a);
  const auto db = decomposed(b);
  if (!da || !db) return false;
  // Literal comparison of the two NFD forms: only canonical equivalence was folded.
  return CFStringCompare(da.get(), db.get(), 0) == kCFCompareEqualTo;
}

}  // namespace textport
