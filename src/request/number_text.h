// The shortest text of a double, made with printf and strtod alone, for C++ libraries that have
// no floating-point std::to_chars (those of older macOS SDKs).
#pragma once

#include <charconv>

namespace textport {

// Writes exactly what std::to_chars(first, last, d) writes for a finite d: the fewest significant
// digits that read back as d (the nearest such decimal to d when there are several), in fixed or
// scientific form, whichever is shorter (fixed on a tie); a whole number in fixed form is written
// with all its digits. When the text does not fit, returns {last, value_too_large}; for NaN and
// infinities, {first, invalid_argument}.
std::to_chars_result printfToChars(char* first, char* last, double d);

}  // namespace textport
