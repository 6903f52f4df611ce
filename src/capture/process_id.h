// Process identifiers that arrive as JSON integers.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "platform/platform.h"

namespace textport {

// The integer as a process identifier; nothing when it is missing or outside 32 bits, where
// no process can have it.
constexpr std::optional<Pid> toPid(std::optional<std::int64_t> value) {
  if (!value || *value < std::numeric_limits<Pid>::min() ||
      *value > std::numeric_limits<Pid>::max()) {
    return std::nullopt;
  }
  return static_cast<Pid>(*value);
}

}  // namespace textport
