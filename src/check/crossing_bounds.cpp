#include "check/crossing_bounds.h"

#include <algorithm>

#include "support/time.h"
#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

crossing_bounds bounds_of_crossing(const swoop &run, std::uint32_t before) {
  const gps_point &a = run.track[before];
  const gps_point &b = run.track[before + 1];
  const double seconds = static_cast<double>(elapsed(a.time, b.time)) / 1000.0;
  const double from = horizontal_speed(a);
  const double to = horizontal_speed(b);
  // The least: slowing down at one g from the first sample, then speeding up at one g to the second. The greatest: the
  // reverse.
  const double middle = (from + to) / 2.0;
  const double reach = standard_gravity * seconds / 2.0;
  const auto [slower, faster] = std::minmax(from, to);
  return {seconds,
          {std::max(std::min(middle - reach, slower), 0.0), std::max(middle + reach, faster)},
          {static_cast<double>(a.time), static_cast<double>(b.time)}};
}

}  // namespace tarvel
