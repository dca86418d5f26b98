// Conversions between degrees and radians. Each has two operations instead of one precomputed factor, since the
// factor's rounding would change the last digits of most course files.
#pragma once

namespace tarvel {

constexpr double pi = 3.141592653589793;

[[nodiscard]] constexpr double radians_from_degrees(double degrees) { return pi * degrees / 180.0; }
[[nodiscard]] constexpr double degrees_from_radians(double radians) { return 180.0 * radians / pi; }

}  // namespace tarvel
