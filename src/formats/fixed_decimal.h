// Numbers with a fixed count of decimals: the coordinates of a map and of a table of samples.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace tarvel {

// The most bytes that print_fixed() writes with up to 20 decimals: sign, the 309 digits of the largest double, point,
// decimals.
constexpr int longest_fixed_decimal = 1 + 309 + 1 + 20;

// Writes what printf() prints for "%.*f", without the NUL: correctly rounded, ties, signed zeros, infinities and NaN
// included. decimals is in 0..20. Returns the end of what was written; first must have room for it.
inline char *print_fixed(char *first, double value, int decimals) {
  if (std::isnan(value)) {
    // libc++ prints "-nan(ind)" and "nan(snan)".
    const std::string_view words = std::signbit(value) ? "-nan" : "nan";
    return std::copy(words.begin(), words.end(), first);
  }
  return std::to_chars(first, first + longest_fixed_decimal, value, std::chars_format::fixed, decimals).ptr;
}

}  // namespace tarvel
