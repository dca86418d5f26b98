// The lag of a logger's velocities behind its positions: filters in receivers delay them by some tenths of a second,
// the vertical ones by more than the horizontal ones. Only the difference between the two can be measured.
#pragma once

#include <span>

#include "check/motion_series.h"

namespace tarvel {

// Seconds; positive when the velocity is the later one.
struct velocity_lag {
  double horizontal = 0.0;
  double vertical = 0.0;
};

// Estimates the lag in the samples [first, end). A lag of L changes the drift (see contradiction.h) by L times the
// change of the velocity. L is fitted by least squares over spans of a second, and repeatedly so with the velocities
// moved by the lag found so far. 0 when the velocity changes too little. work has room for twice as many numbers as the
// series has samples.
[[nodiscard]] velocity_lag estimate_lag(const motion_series &series, std::size_t first, std::size_t end,
                                        std::span<double> work);

// Fills moved with the velocities that a track without the lag (s) would have had: each is that measured lag seconds
// later, on a cubic between two samples. Where these are more than a second apart or do not exist, the velocity stays
// as it was measured.
void move_velocities(std::span<const double> times, std::span<const double> velocities, double lag,
                     std::span<double> moved);

}  // namespace tarvel
