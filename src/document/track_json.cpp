#include "document/track_json.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "document/clock_time.h"
#include "support/time.h"

namespace tarvel {

namespace {

constexpr std::int64_t before_turn = 15'000;  // ms
constexpr std::int64_t after_stop = 5'000;    // ms

// The most samples before the turn and after the stop, 20 s at 100 samples a second: a limit for a clock that stands
// still.
constexpr std::uint32_t most_samples_around = 2000;

constexpr double per_millimetre = 1000.0;
constexpr double per_hundredth = 100.0;

bool is_within(std::int64_t from, std::int64_t to, std::int64_t duration) {
  const std::int64_t passed = elapsed(from, to);
  return passed >= 0 && passed <= duration;
}

sample_range run_range(const swoop &run) {
  const std::span<const gps_point> samples = samples_of(run);
  sample_range range = {run.top_of_turn, run.stop + 1};
  const std::uint32_t earliest = run.top_of_turn - std::min(run.top_of_turn, most_samples_around);
  while (range.first > earliest &&
         is_within(samples[range.first - 1].time, samples[run.top_of_turn].time, before_turn)) {
    --range.first;
  }
  const std::uint32_t latest = range.end + std::min(run.track_len - range.end, most_samples_around);
  while (range.end < latest && is_within(samples[run.stop].time, samples[range.end].time, after_stop)) ++range.end;
  return range;
}

// The lowest and the highest sample of a slice, the earlier one first. A height that is not a number is neither.
std::pair<std::size_t, std::size_t> find_extremes(std::span<const gps_point> samples, std::size_t first,
                                                  std::size_t end) {
  std::size_t lowest = first;
  std::size_t highest = first;
  double least = samples[first].pos_wgs84.z;
  double greatest = least;
  for (std::size_t i = first + 1; i < end; ++i) {
    const double height = samples[i].pos_wgs84.z;
    if (height < least || std::isnan(least)) {
      lowest = i;
      least = height;
    }
    if (height > greatest || std::isnan(greatest)) {
      highest = i;
      greatest = height;
    }
  }
  return std::minmax(lowest, highest);
}

struct overview_point {
  std::int64_t time = 0;    // since the track's first sample, ms
  std::int64_t height = 0;  // mm
};

std::vector<overview_point> overview_of(std::span<const gps_point> samples) {
  std::vector<overview_point> points;
  points.reserve(std::min<std::size_t>(samples.size(), overview_points));
  const auto add = [&](const gps_point &sample) {
    points.push_back({elapsed(samples.front().time, sample.time), scaled_integer(sample.pos_wgs84.z, per_millimetre)});
  };
  if (samples.size() <= overview_points) {
    for (const gps_point &sample : samples) add(sample);
    return points;
  }
  const auto count = static_cast<std::uint32_t>(samples.size());
  for (std::uint32_t slice = 0; slice < overview_slices; ++slice) {
    const auto [first, second] = find_extremes(samples, first_of_slice(count, slice), first_of_slice(count, slice + 1));
    add(samples[first]);
    if (second != first) add(samples[second]);
  }
  return points;
}

// The median interval between samples. In most tracks it is the first one, to which more than half are equal.
std::int64_t median_interval(std::span<const gps_point> samples) {
  const auto interval = [&](std::size_t i) { return elapsed(samples[i - 1].time, samples[i].time); };
  const std::size_t count = samples.size() - 1;
  std::size_t kept = 0;
  for (std::size_t i = 1; i <= count; ++i) kept += interval(i) == interval(1) ? 1 : 0;
  if (kept > count / 2) return interval(1);

  std::vector<std::int64_t> intervals;
  intervals.reserve(count);
  for (std::size_t i = 1; i <= count; ++i) intervals.push_back(interval(i));
  const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>((count - 1) / 2);
  std::nth_element(intervals.begin(), middle, intervals.end());
  return *middle;
}

// Milliseconds since the track's first sample.
std::int64_t time_in_track(std::span<const gps_point> samples, std::int64_t time) {
  return elapsed(samples.front().time, time);
}

}  // namespace

json clock_as_json(std::int64_t time) {
  const clock_time clock = clock_time_at(time);
  return clock.text[0] == '\0' ? json() : json(static_cast<const char *>(clock.text));
}

json time_as_json(std::span<const gps_point> samples, std::int64_t time) {
  return samples.empty() ? json() : json_integer(time_in_track(samples, time));
}

json rate_as_json(std::span<const gps_point> samples) {
  if (samples.size() < 2) return {};
  const std::int64_t interval = median_interval(samples);
  return interval > 0 ? json_thousandths(1000.0 / static_cast<double>(interval)) : json();
}

void append_overview(document_text &text, std::span<const gps_point> samples) {
  const std::vector<overview_point> points = overview_of(samples);
  append(text, "{");
  append_column(text, "time", append_integer, points, [](const overview_point &point) { return point.time; });
  append_column(text, "height", append_integer, points, [](const overview_point &point) { return point.height; });
  append(text, "}");
}

void append_samples(document_text &text, const swoop &run) {
  const sample_range range = run_range(run);
  const std::span<const gps_point> all = samples_of(run);
  const std::span<const gps_point> samples = samples_of(run, range);
  const auto column = [&](const char *name, auto value_of) {
    append_column(text, name, append_integer, samples, value_of);
  };
  const auto millimetres = [&](const char *name, auto value_of) {
    column(name, [&](const gps_point &s) { return scaled_integer(value_of(s), per_millimetre); });
  };
  const auto hundredths = [&](const char *name, auto value_of) {
    column(name, [&](const gps_point &s) { return scaled_integer(value_of(s), per_hundredth); });
  };

  append(text, "{");
  append_member(text, "first", range.first);
  append_member(text, "count", samples.size());
  column("time", [&](const gps_point &s) { return time_in_track(all, s.time); });
  millimetres("x", [](const gps_point &s) { return s.pos_local.x; });
  millimetres("y", [](const gps_point &s) { return s.pos_local.y; });
  millimetres("z", [](const gps_point &s) { return s.pos_local.z; });
  millimetres("vx", [](const gps_point &s) { return s.vel_local.x; });
  millimetres("vy", [](const gps_point &s) { return s.vel_local.y; });
  millimetres("vz", [](const gps_point &s) { return s.vel_local.z; });
  hundredths("dive_angle", [](const gps_point &s) { return s.dive_angle; });
  hundredths("heading", [](const gps_point &s) { return s.heading; });
  hundredths("turn_angle", [](const gps_point &s) { return s.turn_angle; });
  hundredths("turn_rate", [](const gps_point &s) { return s.turn_rate; });
  millimetres("hacc", [](const gps_point &s) { return static_cast<double>(s.hacc); });
  millimetres("vacc", [](const gps_point &s) { return static_cast<double>(s.vacc); });
  millimetres("sacc", [](const gps_point &s) { return static_cast<double>(s.sacc); });
  column("satellites", [](const gps_point &s) { return std::int64_t{s.numsv}; });
  column("fix", [](const gps_point &s) { return std::int64_t{s.gpsfix}; });
  append(text, "}");
}

}  // namespace tarvel
