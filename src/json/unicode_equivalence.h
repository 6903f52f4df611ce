// Comparing strings by Unicode canonical equivalence: precomposed and decomposed forms of the
// same characters are equal; case, white space and everything else still count.
#pragma once

#include <string_view>

namespace textport {

// Both strings are UTF-8; invalid bytes compare as themselves.
bool canonicallyEqual(std::string_view a, std::string_view b);

}  // namespace textport
