// Computes the interval of a figure from its draws.
#pragma once

#include <span>

#include "check/figures.h"

namespace tarvel {

struct interval {
  double low = 0.0;
  double high = 0.0;
};

// The factor by which the distances of the draws' 2.5 % and 97.5 % quantiles from their median are multiplied. With
// these factors the intervals of 95 % of the simulated runs contained the truth.
[[nodiscard]] double widening_of(figure which);

// The quantile `part` (0 to 1), interpolated linearly. values is sorted and not empty.
[[nodiscard]] double percentile(std::span<const double> values, double part);

// The interval of the draws, with a factor of widening_of. There is at least one draw, and none is NaN. Sorts them.
[[nodiscard]] interval interval_of(std::span<double> draws, double widening);

// The interval, widened to contain the value.
[[nodiscard]] interval containing(const interval &given, double value);

}  // namespace tarvel
