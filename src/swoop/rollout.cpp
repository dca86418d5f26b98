#include "swoop/rollout.h"

#include <algorithm>

#include "geo/plane.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double rollout_height_feet = 100.0;  // above the stop
constexpr double level_descent_mph = 10.0;     // the search for the lowest point ends only below this
constexpr double above_lowest = 1.0;           // m
constexpr double bottom_descent = 1.25;        // m/s

// A crossing between sample index and the next. Time 0 means none.
struct bottom_crossing {
  std::uint32_t index = 0;
  std::int64_t time = 0;
};

// The sample before the first one in slow descent whose altitude is not lower, or the last.
std::uint32_t find_lowest(std::span<const gps_point> samples, std::uint32_t first, std::uint32_t last) {
  for (std::uint32_t k = first + 1; k <= last; ++k) {
    const bool is_lower = raw_altitude(samples[k]) < raw_altitude(samples[k - 1]);
    if (!is_lower && mph_per_mps * raw_descent(samples[k]) < level_descent_mph) return k - 1;
  }
  return last;
}

bottom_crossing find_level_crossing(std::span<const gps_point> samples, std::uint32_t first, std::uint32_t last) {
  const std::uint32_t lowest = find_lowest(samples, first, last);
  const double target = raw_altitude(samples[lowest]) + above_lowest;
  for (std::uint32_t k = lowest; k > first + 1;) {
    --k;
    const gps_point &above = samples[k];
    const gps_point &below = samples[k + 1];
    if (raw_altitude(above) > target) {
      return {k, crossing_time(above, below, raw_altitude(above), raw_altitude(below), target)};
    }
  }
  return {};
}

bottom_crossing find_descent_crossing(std::span<const gps_point> samples, std::uint32_t first, std::uint32_t last) {
  for (std::uint32_t k = first + 1; k <= last; ++k) {
    const gps_point &before = samples[k - 1];
    const gps_point &after = samples[k];
    if (raw_descent(after) <= bottom_descent) {
      return {k - 1, crossing_time(before, after, raw_descent(before), raw_descent(after), bottom_descent)};
    }
  }
  return {};
}

}  // namespace

void detect_rollout(swoop &run, error_slot *error) {
  const std::span<const gps_point> samples = samples_of(run);
  const double stop_height = height_feet(samples[run.stop]);
  std::uint32_t low = run.top_of_turn;
  while (low <= run.stop && !(height_feet(samples[low]) - stop_height < rollout_height_feet)) ++low;
  if (low > run.stop) {
    *error = "could not find rollout";
    return;
  }
  for (std::uint32_t k = low; k > run.top_of_turn;) {
    --k;
    if (!(descent_mph(samples[k]) > descent_mph(samples[k + 1]))) {
      run.rollout = k + 1;
      return;
    }
  }
  *error = "could not find rollout";
}

void find_bottom(const swoop &run, std::uint32_t first, std::uint32_t last, std::uint32_t &index, std::int64_t &time) {
  const std::span<const gps_point> samples = samples_of(run);
  const bottom_crossing level = find_level_crossing(samples, first, last);
  const bottom_crossing descent = find_descent_crossing(samples, first, last);
  bottom_crossing bottom;
  if (level.time == 0 && descent.time == 0) {
    bottom.index = std::min(first + 1, run.track_len - 1);
    bottom.time = samples[bottom.index].time;
  } else if (descent.time == 0 || (level.time != 0 && level.time < descent.time)) {
    bottom = level;
  } else {
    bottom = descent;
  }
  index = bottom.index;
  time = bottom.time;
}

void detect_bottom_of_turn(swoop &run, error_slot *) {
  find_bottom(run, run.rollout, run.stop, run.bottom_of_turn, run.bottom_time);
  const vec3 bottom = position_at(run, run.bottom_of_turn, run.bottom_time, &gps_point::pos_local);
  run.bottom_xpos = bottom.x;
  run.bottom_ypos = bottom.y;
  run.bottom_zpos = bottom.z;
}

vec3 position_at(const swoop &run, std::uint32_t index, std::int64_t time, vec3 gps_point::*position) {
  const vec3 &here = run.track[index].*position;
  if (index + 1 >= run.track_len) return here;
  const vec3 &next = run.track[index + 1].*position;
  const auto t0 = static_cast<double>(run.track[index].time);
  const auto t1 = static_cast<double>(run.track[index + 1].time);
  const auto t = static_cast<double>(time);
  return {interpolate(here.x, next.x, t0, t1, t), interpolate(here.y, next.y, t0, t1, t),
          interpolate(here.z, next.z, t0, t1, t)};
}

}  // namespace tarvel
