#include "capture/target_comparison.h"

#include "json/unicode_equivalence.h"

namespace textport {

// The keys are checked in a fixed order and the first mismatch decides. Every rule treats both
// sides alike, so the result does not depend on the order of the arguments.
bool sameTarget(const JsonObject& a, const JsonObject& b) {
  const auto pidA = readInteger(a, "pid");
  const auto pidB = readInteger(b, "pid");
  if (!pidA || !pidB || *pidA != *pidB) return false;

  const auto roleA = readString(a, "role");
  const auto roleB = readString(b, "role");
  if (!roleA || roleA->empty() || !roleB || !canonicallyEqual(*roleA, *roleB)) return false;

  // The selection range: equal, or absent on both sides.
  if (readInteger(a, "offset") != readInteger(b, "offset")) return false;
  if (readInteger(a, "length") != readInteger(b, "length")) return false;

  if (!canonicallyEqual(readString(a, "identifier").value_or(""),
                        readString(b, "identifier").value_or(""))) {
    return false;
  }
  return readInteger(a, "window").value_or(0) == readInteger(b, "window").value_or(0);
}

}  // namespace textport
