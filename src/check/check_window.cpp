#include "check/check_window.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "check/figures.h"
#include "geo/vec3.h"
#include "support/time.h"
#include "support/units.h"
#include "swoop/analysis.h"
#include "swoop/implicit_gate.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

// ms. In drawn tracks the detectors found the same phases with 10 s before the turn; with less than 5 s some did not.
constexpr std::int64_t before_turn = 15000;
constexpr std::int64_t behind_stop = 3000;
constexpr std::int64_t behind_stop_implicit = 20000;
constexpr std::int64_t around_pattern_entry = 2000;
constexpr std::int64_t before_exit = 2000;
constexpr std::int64_t behind_exit = 3000;      // a fall lasts 1.5 s
constexpr std::int64_t behind_landing = 17000;  // a landing lasts 15 s
constexpr double resting_feet = 75.0;           // estimate_touchdown tests whether the pilot stays this near the stop
constexpr double landed_feet = 200.0;           // no climb may follow an exit before the first sample this low
constexpr double farthest_gate = 1000.0;        // m; some sample must be nearer to the gate
constexpr float usable_vacc = 20.0F;            // m; only samples with better heights show a flight

// When the figures differ, the times above are doubled, up to this factor; then the whole track is kept.
constexpr std::int64_t widest = 16;

constexpr std::size_t most_ranges = 11;

// Where in a run samples are kept.
struct kept_samples {
  sample_range closely;
  std::array<sample_range, most_ranges> ranges;  // closely among them
  std::size_t count = 0;

  // In order of their first samples.
  void add(sample_range range) {
    std::size_t i = count++;
    for (; i > 0 && ranges[i - 1].first > range.first; --i) ranges[i] = ranges[i - 1];
    ranges[i] = range;
  }
  void add(std::uint32_t sample) { add({sample, sample + 1}); }
};

sample_range around(const swoop &run, sample_range middle, std::int64_t before, std::int64_t behind) {
  sample_range range = middle;
  const std::int64_t first_time = run.track[middle.first].time;
  const std::int64_t last_time = run.track[middle.end - 1].time;
  while (range.first > 0 && elapsed(run.track[range.first - 1].time, first_time) <= before) --range.first;
  while (range.end < run.track_len && elapsed(last_time, run.track[range.end].time) <= behind) ++range.end;
  return range;
}

sample_range around(const swoop &run, std::uint32_t index, std::int64_t before, std::int64_t behind) {
  return around(run, {index, index + 1}, before, behind);
}

// The first sample at or after `from` for which is_sought is true; the track's last sample when there is none.
template <typename question>
std::uint32_t first_from(const swoop &run, std::uint32_t from, question is_sought) {
  std::uint32_t k = from;
  while (k + 1 < run.track_len && !is_sought(run.track[k])) ++k;
  return k;
}

std::uint32_t highest_before(const swoop &run, std::uint32_t end) {
  std::uint32_t highest = 0;
  for (std::uint32_t i = 1; i < end; ++i) {
    if (!(run.track[i].vacc < usable_vacc)) continue;
    if (raw_altitude(run.track[i]) > raw_altitude(run.track[highest])) highest = i;
  }
  return highest;
}

// Keeps the samples from the dive until it is certain that the pilot has landed, which may be far from the stop.
void keep_landing(const swoop &run, kept_samples &kept) {
  error_slot error = nullptr;
  const implicit_landing found = find_implicit_landing(run, &error);
  if (error == nullptr) kept.add(around(run, {found.dive, found.landing + 1}, 0, behind_landing));
}

kept_samples kept_of(const swoop &run, std::int64_t widened) {
  const std::int64_t behind = run.gate_type == gate_type_implicit ? behind_stop_implicit : behind_stop;
  kept_samples kept;
  kept.closely = around(run, {run.top_of_turn, run.stop + 1}, widened * before_turn, widened * behind);
  kept.add(kept.closely);
  kept.add(std::uint32_t{0});
  kept.add(run.track_len - 1);
  kept.add(around(run, run.pattern_entry, widened * around_pattern_entry, widened * around_pattern_entry));
  kept.add(highest_before(run, kept.closely.first));
  const gps_point &stop = run.track[run.stop];
  kept.add(first_from(run, run.stop, [&stop](const gps_point &sample) {
    return !(feet_per_metre * distance_2d(stop.pos_local, sample.pos_local) <= resting_feet);
  }));
  kept.add(first_from(run, 0, [](const gps_point &sample) {
    return distance_3d({0.0, 0.0, 0.0}, sample.pos_local) < farthest_gate;
  }));
  if (run.plane_exit != 0) {
    kept.add(around(run, run.plane_exit, widened * before_exit, widened * behind_exit));
    kept.add(
        first_from(run, run.plane_exit, [](const gps_point &sample) { return height_feet(sample) < landed_feet; }));
  }
  if (run.gate_type == gate_type_implicit) keep_landing(run, kept);
  return kept;
}

// Joins ranges that overlap or touch, so that each sample is kept once.
void merge(kept_samples &kept) {
  std::size_t merged = 0;
  for (std::size_t i = 1; i < kept.count; ++i) {
    if (kept.ranges[i].first <= kept.ranges[merged].end) {
      kept.ranges[merged].end = std::max(kept.ranges[merged].end, kept.ranges[i].end);
    } else {
      kept.ranges[++merged] = kept.ranges[i];
    }
  }
  kept.count = merged + 1;
}

std::span<const sample_range> ranges_of(const kept_samples &kept) { return {kept.ranges.data(), kept.count}; }

// The functions below need merged ranges.

std::uint32_t count_samples(const kept_samples &kept) {
  std::uint32_t count = 0;
  for (const sample_range &range : ranges_of(kept)) count += range.end - range.first;
  return count;
}

bool take_samples(const swoop &run, const kept_samples &kept, check_window &window) {
  if (!try_resize(window.run.track, window.run.track_len)) return false;
  std::uint32_t taken = 0;
  for (const sample_range &range : ranges_of(kept)) {
    std::copy(run.track.get() + range.first, run.track.get() + range.end, window.run.track.get() + taken);
    if (range.first <= kept.closely.first && kept.closely.end <= range.end) {
      window.closely = {taken + kept.closely.first - range.first, taken + kept.closely.end - range.first};
      window.noise_end = taken + run.stop + 1 - range.first;
    }
    taken += range.end - range.first;
  }
  return true;
}

bool gives_same_figures(const swoop &run, swoop &samples) {
  error_slot error = nullptr;
  analyze_like(run, samples, &error);
  return error == nullptr && same_figures(run, samples);
}

}  // namespace

void choose_window(const swoop &run, std::uint32_t most, check_window &window, error_slot *error) {
  *error = nullptr;
  window.is_enough = false;
  for (std::int64_t widened = 1; !window.is_enough; widened *= 2) {
    kept_samples kept = kept_of(run, widened);
    if (widened > widest) kept.add({0, run.track_len});
    merge(kept);
    window.run.track_len = count_samples(kept);
    if (window.run.track_len > most) return;
    if (!take_samples(run, kept, window)) {
      *error = "failed to allocate memory for swoop";
      return;
    }
    window.is_enough = gives_same_figures(run, window.run) || window.run.track_len == run.track_len;
  }
}

void analyze_like(const swoop &run, swoop &samples, error_slot *error) {
  // An analysis remembers its frame and does no work in the same one again.
  swoop fresh;
  fresh.track = std::move(samples.track);
  fresh.track_len = samples.track_len;
  fresh.time_aloft = run.time_aloft;
  samples = std::move(fresh);
  const mat4 &frame = run.gate_type == gate_type_course ? run.rotate_matrix_in : run.matrix;
  analyze_swoop(samples, run.gate_type, frame, run.rotate_theta, error);
}

}  // namespace tarvel
