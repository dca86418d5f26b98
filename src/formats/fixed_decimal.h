// Prints numbers with a fixed count of decimals, for the coordinates of a map and of a table of samples.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace tarvel {

// The most bytes that print_fixed writes: a sign, the 309 digits of the largest double, the point and 20 decimals.
constexpr int longest_fixed_decimal = 1 + 309 + 1 + 20;

// Writes the same bytes as printf of "%.*f", without the NUL. decimals is 0 to 20. first must have room for
// longest_fixed_decimal bytes. Returns the end of the written ones.
inline char *print_fixed(char *first, double value, int decimals) {
  if (std::isnan(value)) {
    // libc++ prints "-nan(ind)" and "nan(snan)".
    const std::string_view words = std::signbit(value) ? "-nan" : "nan";
    return std::copy(words.begin(), words.end(), first);
  }
  return std::to_chars(first, first + longest_fixed_decimal, value, std::chars_format::fixed, decimals).ptr;
}

}  // namespace tarvel
