#include "check/crossing_bounds.h"

#include <algorithm>

#include "support/time.h"
#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

// s from the sample i to the next one.
double step_from(const swoop &run, std::uint32_t i) {
  return static_cast<double>(elapsed(run.track[i].time, run.track[i + 1].time)) / 1000.0;
}

// m/s^2 from the sample i to the next one.
double slope_from(const swoop &run, std::uint32_t i) {
  return (horizontal_speed(run.track[i + 1]) - horizontal_speed(run.track[i])) / step_from(run, i);
}

}  // namespace

crossing_bounds bounds_of_crossing(const swoop &run, std::uint32_t before) {
  const gps_point &a = run.track[before];
  const gps_point &b = run.track[before + 1];
  const double seconds = step_from(run, before);
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

interval bend_at_crossing(const swoop &run, std::uint32_t before) {
  if (before == 0 || before + 2 >= run.track_len) return {0.0, 0.0};
  const double slope = slope_from(run, before);
  const double changes[] = {slope - slope_from(run, before - 1), slope_from(run, before + 1) - slope};
  // The line is missed by the most when the slope changes halfway: by a quarter of the change times the step.
  const double quarter = step_from(run, before) / 4.0;
  interval bend = {0.0, 0.0};
  for (const double change : changes) {
    bend.low -= quarter * std::max(change, 0.0);
    bend.high += quarter * std::max(-change, 0.0);
  }
  return bend;
}

}  // namespace tarvel
