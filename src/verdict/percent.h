// Parts of the draws in whole percent.
#pragma once

#include <cmath>

namespace tarvel {

// 28 of 400 draws are 7 percent, although 0.07 * 100.0 is a little more than 7. One draw of the most that are possible
// is 0.01 percent.
constexpr double least_percent = 1e-9;

[[nodiscard]] inline double percent_rounded_up(double part) { return std::ceil(100.0 * part - least_percent); }
[[nodiscard]] inline double percent_rounded_down(double part) { return std::floor(100.0 * part + least_percent); }

}  // namespace tarvel
