// Writing answers: compact JSON with sorted keys, raw UTF-8, and "/" escaped as "\/".
#pragma once

#include <optional>
#include <string>

#include "json/json_value.h"

namespace textport {

// The serialised object, or nothing when it holds a value JSON cannot carry (NaN, infinity).
std::optional<std::string> writeJson(const JsonObject& object);

}  // namespace textport
