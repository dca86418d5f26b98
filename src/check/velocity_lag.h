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

// A lag of L makes the drift of the position change by L times the change of the velocity: least squares over spans of
// a second between two samples, repeated with the velocities moved by the lag found so far. 0 where the velocity
// changes too little to tell. work holds as many numbers as the series twice over.
[[nodiscard]] velocity_lag estimate_lag(const motion_series &series, std::size_t first, std::size_t end,
                                        std::span<double> work);

// Fills moved with the velocities that a track without the lag would have had: those measured so much later, on a cubic
// between two samples. Where the next sample is more than a second away or missing, the velocity stays.
void move_velocities(std::span<const double> times, std::span<const double> velocities, double lag,
                     std::span<double> moved);

}  // namespace tarvel
