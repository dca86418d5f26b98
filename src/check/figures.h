// The figures of a report as numbers: what a check gives intervals for.
#pragma once

#include <array>
#include <cstddef>

#include "swoop/swoop.h"

namespace tarvel {

// In the order of the report's lines. Heights, distances back and offsets of a phase follow each other.
enum class figure : std::size_t {
  exit_height,
  turn_height,
  turn_back,
  turn_offset,
  max_vertical_height,
  max_vertical_back,
  max_vertical_offset,
  max_vertical_speed,
  rollout_start_height,
  rollout_start_back,
  rollout_start_offset,
  rollout_start_speed,
  rollout_end_height,
  rollout_end_back,
  rollout_end_offset,
  max_total_height,
  max_total_back,
  max_total_offset,
  max_total_speed,
  max_horizontal_height,
  max_horizontal_back,
  max_horizontal_offset,
  max_horizontal_speed,
  degrees,
  turn_time,
  rollout_time,
  time_aloft,
  entry_gate_speed,
  distance_to_stop,
  touchdown_distance,
  touchdown_speed,
  carve_time,
  exit_gate_speed,
};
constexpr std::size_t figure_count = static_cast<std::size_t>(figure::exit_gate_speed) + 1;

// True for the figures by which runs are scored; the others describe the phases.
[[nodiscard]] constexpr bool is_score(figure which) { return which >= figure::entry_gate_speed; }

[[nodiscard]] constexpr bool depends_on_touchdown(figure which) {
  return which == figure::touchdown_distance || which == figure::touchdown_speed || which == figure::time_aloft;
}

// When the touchdown is not marked, the stop is taken for it.
[[nodiscard]] inline bool is_touchdown_marked(const swoop &run) {
  return run.touchdown_time != run.track[run.stop].time;
}

// In metres, m/s, seconds and degrees; NaN where the report has hyphens. Degrees are positive to the right.
using figure_values = std::array<double, figure_count>;

[[nodiscard]] constexpr std::size_t index_of(figure which) { return static_cast<std::size_t>(which); }

// The figures of an analysed run.
[[nodiscard]] figure_values values_of(const swoop &run);

// s; flights are drawn at samples that are at least this far apart.
constexpr double shortest_node_step = 0.2;

// How much each figure changes during half the time to the next sample, or to the next node of a drawn flight: a moment
// that is found at a sample is not known more exactly. 0 for figures that are interpolated between samples.
[[nodiscard]] figure_values resolutions_of(const swoop &run);

// True when all figures, the reversal and the carve are the same, to the last bit.
[[nodiscard]] bool same_figures(const swoop &one, const swoop &other);

}  // namespace tarvel
