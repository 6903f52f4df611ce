// Parsing request bytes into a JsonValue, without unbounded recursion.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "json/json_value.h"

namespace textport {

// Deeper nesting than this is refused; real requests nest three levels at most.
inline constexpr std::size_t kMaxJsonDepth = 512;

// The value of one JSON text in UTF-8, or nothing when it does not parse. Duplicate keys:
// the last one wins.
std::optional<JsonValue> parseJson(std::string_view text);

// Replaces each invalid UTF-8 sequence by U+FFFD: each longest prefix of a well-formed
// sequence, and each byte that cannot start one, becomes one U+FFFD.
std::string repairUtf8(std::string_view bytes);

// Whether the bytes are well-formed UTF-8 throughout (then repairUtf8 would change nothing).
bool isValidUtf8(std::string_view bytes);

}  // namespace textport
