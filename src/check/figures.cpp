#include "check/figures.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "geo/vec3.h"
#include "support/time.h"
#include "swoop/report_figures.h"

namespace tarvel {

namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();

double value_of(const report_figure &figure) { return figure.missing == nullptr ? figure.value : missing; }

// Height, distance back and offset.
void set_place(figure_values &values, figure height, const report_point &place) {
  values[index_of(height)] = place.altitude.value;
  values[index_of(height) + 1] = place.back.value;
  values[index_of(height) + 2] = place.offset.value;
}

// The distances along the axes that are flown in half a step, and its duration.
struct half_step {
  vec3 way;
  double seconds = 0.0;
};

half_step half_step_at(const swoop &run, std::uint32_t k) {
  const gps_point &from = run.track[k];
  const gps_point &to = run.track[std::min(k + 1, run.track_len - 1)];
  const double seconds = unsigned_seconds(from.time, to.time);
  if (!(seconds > 0.0)) return {};
  const double half = std::max(seconds, shortest_node_step) / 2.0;
  const vec3 way = vec3_sub(to.pos_local, from.pos_local);
  return {{way.x * half / seconds, way.y * half / seconds, way.z * half / seconds}, half};
}

void set_half_step(figure_values &values, figure height, const half_step &half) {
  values[index_of(height)] = std::fabs(half.way.z);
  values[index_of(height) + 1] = std::fabs(half.way.x);
  values[index_of(height) + 2] = std::fabs(half.way.y);
}

bool same_bits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

}  // namespace

figure_values values_of(const swoop &run) {
  const report_figures figures = figures_of(run);
  figure_values values{};
  const auto set = [&values](figure which, const report_figure &found) { values[index_of(which)] = value_of(found); };

  set(figure::exit_height, figures.exit_altitude);
  set_place(values, figure::turn_height, figures.turn);
  set_place(values, figure::max_vertical_height, figures.max_vertical_speed.place);
  set(figure::max_vertical_speed, figures.max_vertical_speed.speed);
  set_place(values, figure::rollout_start_height, figures.rollout_start.place);
  set(figure::rollout_start_speed, figures.rollout_start.speed);
  set_place(values, figure::rollout_end_height, figures.rollout_end);
  set_place(values, figure::max_total_height, figures.max_total_speed.place);
  set(figure::max_total_speed, figures.max_total_speed.speed);
  set_place(values, figure::max_horizontal_height, figures.max_horizontal_speed.place);
  set(figure::max_horizontal_speed, figures.max_horizontal_speed.speed);
  values[index_of(figure::degrees)] = run.turn_degrees;
  set(figure::turn_time, figures.turn_time);
  set(figure::rollout_time, figures.rollout_time);
  set(figure::time_aloft, figures.aloft_time);
  set(figure::entry_gate_speed, figures.entry_gate_speed);
  set(figure::distance_to_stop, figures.stop_distance);
  set(figure::touchdown_distance, figures.touchdown_distance);
  set(figure::touchdown_speed, figures.touchdown_speed);
  set(figure::carve_time, figures.carve_time);
  set(figure::exit_gate_speed, figures.exit_gate_speed);
  return values;
}

figure_values resolutions_of(const swoop &run) {
  constexpr double least_length = 0.01;  // m; the resolution of files
  figure_values values{};
  set_half_step(values, figure::rollout_end_height, {{least_length, least_length, least_length}, 0.0});
  const half_step turn = half_step_at(run, run.top_of_turn);
  const half_step rollout = half_step_at(run, run.rollout);
  set_half_step(values, figure::turn_height, turn);
  set_half_step(values, figure::max_vertical_height, half_step_at(run, run.max_vert_speed));
  set_half_step(values, figure::rollout_start_height, rollout);
  set_half_step(values, figure::max_total_height, half_step_at(run, run.max_total_speed));
  set_half_step(values, figure::max_horizontal_height, half_step_at(run, run.max_horz_speed));
  values[index_of(figure::turn_time)] = std::max(turn.seconds, rollout.seconds);
  values[index_of(figure::rollout_time)] = rollout.seconds;
  return values;
}

bool same_figures(const swoop &one, const swoop &other) {
  const figure_values a = values_of(one);
  const figure_values b = values_of(other);
  for (std::size_t i = 0; i < figure_count; ++i) {
    if (!same_bits(a[i], b[i])) return false;
  }
  return one.reversal_detected == other.reversal_detected && one.carve_detected == other.carve_detected;
}

}  // namespace tarvel
