#include "check/check_window.h"

#include <algorithm>
#include <utility>

#include "check/figures.h"
#include "geo/vec3.h"
#include "support/time.h"
#include "support/units.h"
#include "swoop/analysis.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

// ms. In drawn tracks the detectors found the same from 10 s before the turn on; below 5 s some did not.
constexpr std::int64_t before_turn = 15000;
constexpr std::int64_t behind_stop = 3000;
constexpr std::int64_t behind_stop_implicit = 20000;  // a landing lasts 15 s
constexpr std::int64_t around_pattern_entry = 2000;
constexpr std::int64_t before_exit = 2000;
constexpr std::int64_t behind_exit = 3000;  // a fall lasts 1.5 s
constexpr double resting_feet = 75.0;       // the touchdown asks whether the pilot stays so near the stop

// Where in a run samples are kept.
struct kept_samples {
  sample_range closely;
  sample_range pattern_entry;
  sample_range exit;
  std::uint32_t highest = 0;
  std::uint32_t walked_away = 0;
};

sample_range around(const swoop &run, std::uint32_t index, std::int64_t before, std::int64_t behind) {
  const std::int64_t time = run.track[index].time;
  sample_range range = {index, index + 1};
  while (range.first > 0 && elapsed(run.track[range.first - 1].time, time) <= before) --range.first;
  while (range.end < run.track_len && elapsed(time, run.track[range.end].time) <= behind) ++range.end;
  return range;
}

std::uint32_t highest_before(const swoop &run, std::uint32_t end) {
  std::uint32_t highest = 0;
  for (std::uint32_t i = 1; i < end; ++i) {
    if (raw_altitude(run.track[i]) > raw_altitude(run.track[highest])) highest = i;
  }
  return highest;
}

std::uint32_t walked_away(const swoop &run) {
  std::uint32_t k = run.stop;
  while (k + 1 < run.track_len &&
         feet_per_metre * distance_2d(run.track[run.stop].pos_local, run.track[k].pos_local) <= resting_feet) {
    ++k;
  }
  return k;
}

kept_samples kept_of(const swoop &run) {
  const std::int64_t behind = run.gate_type == gate_type_implicit ? behind_stop_implicit : behind_stop;
  kept_samples kept;
  kept.closely = {around(run, run.top_of_turn, before_turn, 0).first, around(run, run.stop, 0, behind).end};
  kept.pattern_entry = around(run, run.pattern_entry, around_pattern_entry, around_pattern_entry);
  kept.exit = run.plane_exit == 0 ? sample_range{0, 0} : around(run, run.plane_exit, before_exit, behind_exit);
  kept.highest = highest_before(run, kept.closely.first);
  kept.walked_away = walked_away(run);
  return kept;
}

bool is_in(sample_range range, std::uint32_t i) { return i >= range.first && i < range.end; }

bool is_kept(const kept_samples &kept, std::uint32_t i, std::uint32_t last) {
  return i == 0 || i == last || i == kept.highest || i == kept.walked_away || is_in(kept.closely, i) ||
         is_in(kept.pattern_entry, i) || is_in(kept.exit, i);
}

bool take_samples(const swoop &run, const kept_samples &kept, bool all, check_window &window) {
  std::uint32_t count = 0;
  for (std::uint32_t i = 0; i < run.track_len; ++i) count += all || is_kept(kept, i, run.track_len - 1) ? 1U : 0U;
  if (!try_resize(window.run.track, count)) return false;
  window.run.track_len = count;
  std::uint32_t taken = 0;
  for (std::uint32_t i = 0; i < run.track_len; ++i) {
    if (i == kept.closely.first) window.closely.first = taken;
    if (!all && !is_kept(kept, i, run.track_len - 1)) continue;
    window.run.track[taken++] = run.track[i];
    if (i == run.stop) window.noise_end = taken;
    if (i + 1 == kept.closely.end) window.closely.end = taken;
  }
  window.is_whole_track = all;
  return true;
}

}  // namespace

void choose_window(const swoop &run, check_window &window, error_slot *error) {
  *error = nullptr;
  const kept_samples kept = kept_of(run);
  if (!take_samples(run, kept, false, window)) {
    *error = "failed to allocate memory for swoop";
    return;
  }
  error_slot analysis_error = nullptr;
  analyze_like(run, window.run, &analysis_error);
  if (analysis_error == nullptr && same_figures(run, window.run)) return;
  if (!take_samples(run, kept, true, window)) {
    *error = "failed to allocate memory for swoop";
    return;
  }
  analyze_like(run, window.run, &analysis_error);
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
