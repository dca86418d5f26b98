// Runs made sample by sample, so that a test states every number that its stage reads.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

// A record with a copy of these samples and no results.
[[nodiscard]] inline swoop run_of(const std::vector<gps_point> &samples) {
  swoop run;
  if (!try_resize(run.track, samples.size())) throw std::runtime_error("no memory for a hand-made run");
  std::copy(samples.begin(), samples.end(), run.track.get());
  run.track_len = static_cast<std::uint32_t>(samples.size());
  return run;
}

// The value whose product with the factor is exactly the threshold. Throws when rounding leaves no such value.
[[nodiscard]] inline double on_threshold(double threshold, double factor) {
  const double near = threshold / factor;
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {near, std::nextafter(near, infinity), std::nextafter(near, -infinity)}) {
    if (factor * value == threshold) return value;
  }
  throw std::domain_error("no value lies exactly on the threshold");
}

// The next value whose product with the factor lies beyond the threshold.
[[nodiscard]] inline double above_threshold(double threshold, double factor) {
  double value = on_threshold(threshold, factor);
  while (!(factor * value > threshold)) value = std::nextafter(value, std::numeric_limits<double>::infinity());
  return value;
}
[[nodiscard]] inline double below_threshold(double threshold, double factor) {
  double value = on_threshold(threshold, factor);
  while (!(factor * value < threshold)) value = std::nextafter(value, -std::numeric_limits<double>::infinity());
  return value;
}

// The length in metres whose product with feet_per_metre is exactly this number of feet.
[[nodiscard]] inline double from_feet(double feet) { return on_threshold(feet, feet_per_metre); }
[[nodiscard]] inline double from_feet_above(double feet) { return above_threshold(feet, feet_per_metre); }
[[nodiscard]] inline double from_feet_below(double feet) { return below_threshold(feet, feet_per_metre); }

// The speed in m/s whose product with mph_per_mps is exactly this number of mph; also m/s2 for mph per second.
[[nodiscard]] inline double from_mph(double mph) { return on_threshold(mph, mph_per_mps); }
[[nodiscard]] inline double from_mph_above(double mph) { return above_threshold(mph, mph_per_mps); }
[[nodiscard]] inline double from_mph_below(double mph) { return below_threshold(mph, mph_per_mps); }

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

}  // namespace tarvel
