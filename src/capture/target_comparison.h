// Whether two target descriptions denote the same target with the same selection range.
#pragma once

#include "json/json_value.h"

namespace textport {

// True when both carry the same integer "pid", the same non-empty "role", the same "offset"
// and "length" (or neither), the same "identifier" (missing = "") and "window" (missing = 0).
// Strings compare by canonical equivalence. Symmetric; never fails.
bool sameTarget(const JsonObject& a, const JsonObject& b);

}  // namespace textport
