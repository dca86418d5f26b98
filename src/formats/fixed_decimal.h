// Numbers with a fixed count of decimals, three to a line of a map: a track of an hour has a hundred thousand lines.
#pragma once

namespace tarvel {

// The most bytes that print_fixed() writes with up to 20 decimals: sign, the 309 digits of the largest double, point,
// decimals.
constexpr int longest_fixed_decimal = 1 + 309 + 1 + 20;

// Writes what printf() prints for "%.*f", without the NUL: correctly rounded, ties, signed zeros, infinities and NaN
// included. decimals is in 0..20. Returns the end of what was written; first must have room for it.
char *print_fixed(char *first, double value, int decimals);

}  // namespace tarvel
