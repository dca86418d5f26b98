#include "document/track_json.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "document/clock_time.h"
#include "support/time.h"

namespace tarvel {

namespace {

constexpr std::int64_t before_turn = 15'000;  // ms
constexpr std::int64_t after_stop = 5'000;    // ms

// On either side, whatever the clock says: 20 seconds at 100 samples a second.
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

// The lowest and the highest sample of a slice, the earlier one first. One that is not a number is neither.
std::pair<std::size_t, std::size_t> find_extremes(std::span<const gps_point> samples, std::size_t first,
                                                  std::size_t end) {
  std::size_t lowest = first;
  std::size_t highest = first;
  for (std::size_t i = first + 1; i < end; ++i) {
    const double height = samples[i].pos_wgs84.z;
    if (std::isnan(samples[lowest].pos_wgs84.z)) lowest = highest = i;
    if (height < samples[lowest].pos_wgs84.z) lowest = i;
    if (height > samples[highest].pos_wgs84.z) highest = i;
  }
  return std::minmax(lowest, highest);
}

std::vector<std::size_t> overview_indices(std::span<const gps_point> samples) {
  std::vector<std::size_t> indices;
  indices.reserve(std::min<std::size_t>(samples.size(), overview_points));
  if (samples.size() <= overview_points) {
    for (std::size_t i = 0; i < samples.size(); ++i) indices.push_back(i);
    return indices;
  }
  constexpr std::size_t slices = overview_points / 2;
  for (std::size_t slice = 0; slice < slices; ++slice) {
    const auto [first, second] =
        find_extremes(samples, samples.size() * slice / slices, samples.size() * (slice + 1) / slices);
    indices.push_back(first);
    if (second != first) indices.push_back(second);
  }
  return indices;
}

}  // namespace

json clock_as_json(std::int64_t time) {
  const clock_time clock = clock_time_at(time);
  return clock.text[0] == '\0' ? json() : json(static_cast<const char *>(clock.text));
}

json time_as_json(std::span<const gps_point> samples, std::int64_t time) {
  return samples.empty() ? json() : json_integer(elapsed(samples.front().time, time));
}

json rate_as_json(std::span<const gps_point> samples) {
  if (samples.size() < 2) return {};
  std::vector<std::int64_t> intervals;
  intervals.reserve(samples.size() - 1);
  for (std::size_t i = 1; i < samples.size(); ++i) intervals.push_back(elapsed(samples[i - 1].time, samples[i].time));
  const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>((intervals.size() - 1) / 2);
  std::nth_element(intervals.begin(), middle, intervals.end());
  return *middle > 0 ? json_thousandths(1000.0 / static_cast<double>(*middle)) : json();
}

json overview_as_json(std::span<const gps_point> samples) {
  const std::vector<std::size_t> indices = overview_indices(samples);
  json overview = json::object();
  overview["time"] = json_column(indices, [&](std::size_t i) { return time_as_json(samples, samples[i].time); });
  overview["height"] =
      json_column(indices, [&](std::size_t i) { return json_scaled(samples[i].pos_wgs84.z, per_millimetre); });
  return overview;
}

json samples_as_json(const swoop &run) {
  const sample_range range = run_range(run);
  const std::span<const gps_point> all = samples_of(run);
  const std::span<const gps_point> samples = samples_of(run, range);
  const auto column = [&](double factor, auto value_of) {
    return json_column(samples, [&](const gps_point &s) { return json_scaled(value_of(s), factor); });
  };

  json columns = json::object();
  columns["first"] = range.first;
  columns["count"] = samples.size();
  columns["time"] = json_column(samples, [&](const gps_point &s) { return time_as_json(all, s.time); });
  columns["x"] = column(per_millimetre, [](const gps_point &s) { return s.pos_local.x; });
  columns["y"] = column(per_millimetre, [](const gps_point &s) { return s.pos_local.y; });
  columns["z"] = column(per_millimetre, [](const gps_point &s) { return s.pos_local.z; });
  columns["vx"] = column(per_millimetre, [](const gps_point &s) { return s.vel_local.x; });
  columns["vy"] = column(per_millimetre, [](const gps_point &s) { return s.vel_local.y; });
  columns["vz"] = column(per_millimetre, [](const gps_point &s) { return s.vel_local.z; });
  columns["dive_angle"] = column(per_hundredth, [](const gps_point &s) { return s.dive_angle; });
  columns["heading"] = column(per_hundredth, [](const gps_point &s) { return s.heading; });
  columns["turn_angle"] = column(per_hundredth, [](const gps_point &s) { return s.turn_angle; });
  columns["turn_rate"] = column(per_hundredth, [](const gps_point &s) { return s.turn_rate; });
  columns["hacc"] = column(per_millimetre, [](const gps_point &s) { return static_cast<double>(s.hacc); });
  columns["vacc"] = column(per_millimetre, [](const gps_point &s) { return static_cast<double>(s.vacc); });
  columns["sacc"] = column(per_millimetre, [](const gps_point &s) { return static_cast<double>(s.sacc); });
  columns["satellites"] = json_column(samples, [](const gps_point &s) { return json(s.numsv); });
  columns["fix"] = json_column(samples, [](const gps_point &s) { return json(s.gpsfix); });
  return columns;
}

}  // namespace tarvel
