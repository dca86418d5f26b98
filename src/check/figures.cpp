#include "check/figures.h"

#include <bit>
#include <cstdint>
#include <limits>

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

bool same_figures(const swoop &one, const swoop &other) {
  const figure_values a = values_of(one);
  const figure_values b = values_of(other);
  for (std::size_t i = 0; i < figure_count; ++i) {
    if (!same_bits(a[i], b[i])) return false;
  }
  return one.reversal_detected == other.reversal_detected && one.carve_detected == other.carve_detected;
}

}  // namespace tarvel
