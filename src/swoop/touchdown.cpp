#include "swoop/touchdown.h"

#include "geo/plane.h"
#include "support/time.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double resting_feet = 75.0;  // a pilot who stays this near the stop to the end of the track rests there

void estimate_from_time_aloft(swoop &run, std::uint32_t time_aloft, error_slot *error) {
  const std::span<const gps_point> samples = samples_of(run);
  const std::int64_t time = time_after(run.entry_gate_time, time_aloft);
  std::uint32_t k = run.entry_gate;
  while (k < run.stop && !(samples[k].time > time)) ++k;
  // The sample before k must not be sample 0, which means "not found".
  if (k >= run.stop || k == 1) {
    *error = "touchdown time estimate not found";
    return;
  }
  const gps_point &a = samples[k - 1];
  const gps_point &b = samples[k];
  const auto t0 = static_cast<double>(a.time);
  const auto t1 = static_cast<double>(b.time);
  const auto t = static_cast<double>(time);
  run.touchdown_time = time;
  run.touchdown_speed = interpolate(horizontal_speed(a), horizontal_speed(b), t0, t1, t);
  run.touchdown_distance = interpolate(a.pos_local.x, b.pos_local.x, t0, t1, t);
}

// True when the track ends near the stop, after at least one more sample.
bool rests_near_stop(std::span<const gps_point> samples, std::uint32_t stop) {
  std::uint32_t k = stop + 1;
  while (k < samples.size() &&
         feet_per_metre * distance_2d(samples[stop].pos_local, samples[k].pos_local) <= resting_feet) {
    ++k;
  }
  return stop + 1 < samples.size() && k == samples.size();
}

// When the pilot's place of rest is nearer to the gate than the stop: the last sample before the run passed that place.
// Otherwise 0.
std::uint32_t find_passage(const swoop &run, double rest_x) {
  const std::span<const gps_point> samples = samples_of(run);
  const double stop_x = samples[run.stop].pos_local.x;
  const bool is_short = stop_x > 0.0 && rest_x > 0.0 && stop_x > rest_x;
  const bool is_short_reversed = stop_x < 0.0 && rest_x < 0.0 && rest_x > stop_x;
  if (!is_short && !is_short_reversed) return 0;
  for (auto j = static_cast<std::int64_t>(run.stop) - 1; j > run.bottom_of_turn; --j) {
    const double x = samples[static_cast<std::size_t>(j)].pos_local.x;
    if (is_short ? x < rest_x : x > rest_x) return static_cast<std::uint32_t>(j);
  }
  return 0;
}

}  // namespace

void estimate_touchdown(swoop &run, std::uint32_t time_aloft, error_slot *error) {
  if (time_aloft != 0 && run.entry_gate != 0) return estimate_from_time_aloft(run, time_aloft, error);

  const std::span<const gps_point> samples = samples_of(run);
  const double rest_x = samples.back().pos_local.x;
  const std::uint32_t passage = rests_near_stop(samples, run.stop) ? find_passage(run, rest_x) : 0;
  if (passage == 0) {
    run.touchdown_time = samples[run.stop].time;
    run.touchdown_speed = horizontal_speed(samples[run.stop]);
    run.touchdown_distance = samples[run.stop].pos_local.x;
    return;
  }
  const gps_point &a = samples[passage];
  const gps_point &b = samples[passage + 1];
  run.touchdown_time = crossing_time(a, b, a.pos_local.x, b.pos_local.x, rest_x);
  run.touchdown_speed = interpolate(horizontal_speed(a), horizontal_speed(b), a.pos_local.x, b.pos_local.x, rest_x);
  run.touchdown_distance = rest_x;
}

}  // namespace tarvel
