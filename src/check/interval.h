// The interval that a figure's draws give.
#pragma once

#include <span>

#include "check/figures.h"

namespace tarvel {

struct interval {
  double low = 0.0;
  double high = 0.0;
};

// The distance of the ends from the median, in proportion to that of the draws' 2.5 % and 97.5 % quantiles. With these
// factors the intervals of 95 % of the simulated runs contained the truth.
[[nodiscard]] double widening_of(figure which);

// The quantile, interpolated linearly. values are sorted and not empty.
[[nodiscard]] double percentile(std::span<const double> values, double part);

// Sorts the draws, none of which is NaN and of which there is at least one.
[[nodiscard]] interval interval_of(std::span<double> draws, double widening);

// Widened to contain a value.
[[nodiscard]] interval containing(const interval &given, double value);

}  // namespace tarvel
