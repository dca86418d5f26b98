#include "check/figures.h"

#include <bit>
#include <cstdint>
#include <limits>

#include "support/time.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();

void set(figure_values &values, figure which, double value) { values[index_of(which)] = value; }

// Height, distance back and offset.
void set_place(figure_values &values, figure height, const vec3 &place) {
  values[index_of(height)] = place.z;
  values[index_of(height) + 1] = -place.x;
  values[index_of(height) + 2] = -place.y;
}

bool same_bits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

}  // namespace

figure_values figures_of(const swoop &run) {
  const std::span<const gps_point> samples = samples_of(run);
  const gps_point &turn = samples[run.top_of_turn];
  const gps_point &rollout = samples[run.rollout];
  const gps_point &vertical = samples[run.max_vert_speed];
  const gps_point &total = samples[run.max_total_speed];
  const gps_point &horizontal = samples[run.max_horz_speed];

  figure_values values{};
  set(values, figure::exit_height, run.plane_exit != 0 ? samples[run.plane_exit].pos_local.z : missing);
  set_place(values, figure::turn_height, turn.pos_local);
  set_place(values, figure::max_vertical_height, vertical.pos_local);
  set(values, figure::max_vertical_speed, -vertical.vel_local.z);
  set_place(values, figure::rollout_start_height, rollout.pos_local);
  set(values, figure::rollout_start_speed, -rollout.vel_local.z);
  set_place(values, figure::rollout_end_height, {run.bottom_xpos, run.bottom_ypos, run.bottom_zpos});
  set_place(values, figure::max_total_height, total.pos_local);
  set(values, figure::max_total_speed, total_speed(total));
  set_place(values, figure::max_horizontal_height, horizontal.pos_local);
  set(values, figure::max_horizontal_speed, horizontal_speed(horizontal));
  set(values, figure::degrees, run.turn_degrees);
  set(values, figure::turn_time, unsigned_seconds(turn.time, rollout.time));
  set(values, figure::rollout_time, unsigned_seconds(rollout.time, run.bottom_time));
  set(values, figure::time_aloft, unsigned_seconds(run.bottom_time, run.touchdown_time));
  set(values, figure::entry_gate_speed, run.entry_gate_speed != 0.0 ? run.entry_gate_speed : missing);
  set(values, figure::distance_to_stop, samples[run.stop].pos_local.x);
  set(values, figure::touchdown_distance, run.touchdown_distance);
  set(values, figure::touchdown_speed, run.touchdown_speed);
  set(values, figure::carve_time,
      run.exit_gate_time != 0 ? unsigned_seconds(run.entry_gate_time, run.exit_gate_time) : missing);
  set(values, figure::exit_gate_speed, run.exit_gate_speed != 0.0 ? run.exit_gate_speed : missing);
  return values;
}

bool same_figures(const swoop &one, const swoop &other) {
  const figure_values a = figures_of(one);
  const figure_values b = figures_of(other);
  for (std::size_t i = 0; i < figure_count; ++i) {
    if (!same_bits(a[i], b[i])) return false;
  }
  return one.reversal_detected == other.reversal_detected && one.carve_detected == other.carve_detected;
}

}  // namespace tarvel
