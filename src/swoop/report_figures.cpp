#include "swoop/report_figures.h"

#include <cmath>
#include <cstdio>

#include "support/time.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

constexpr std::size_t short_size = 6;  // five characters and the NUL

report_figure length(double metres) { return {metres, figure_unit::metres, 0}; }
report_figure speed(double metres_per_second) { return {metres_per_second, figure_unit::metres_per_second, 1}; }
report_figure seconds(std::int64_t from, std::int64_t to) {
  return {unsigned_seconds(from, to), figure_unit::seconds, 2};
}

report_figure short_or_hyphens(bool is_known, const char *hyphens, report_figure figure) {
  figure.missing = is_known ? nullptr : hyphens;
  figure.is_short = true;
  return figure;
}

report_point point(const vec3 &place) { return {length(place.z), length(-place.x), length(-place.y)}; }

report_point_with_speed point_with_speed(const gps_point &sample, double sample_speed) {
  return {point(sample.pos_local), speed(sample_speed)};
}

report_point rollout_end(const swoop &run) {
  report_point end = point({run.bottom_xpos, run.bottom_ypos, run.bottom_zpos});
  end.back.hides_minus_zero = true;
  end.offset.hides_minus_zero = true;
  return end;
}

double printed_value(const report_figure &figure, const display_units &units) {
  switch (figure.unit) {
    case figure_unit::metres: return figure.value * units.length_factor;
    case figure_unit::metres_per_second: return figure.value * units.speed_factor;
    default: return figure.value;
  }
}

}  // namespace

report_figures figures_of(const swoop &run) {
  const gps_point *const track = run.track.get();
  const gps_point &steepest = track[run.max_vert_speed];
  const gps_point &rollout = track[run.rollout];
  const gps_point &fastest = track[run.max_total_speed];
  const gps_point &fastest_level = track[run.max_horz_speed];
  report_figures figures;

  figures.exit_altitude = short_or_hyphens(run.plane_exit != 0, "-----", length(track[run.plane_exit].pos_local.z));
  figures.turn = point(track[run.top_of_turn].pos_local);
  figures.max_vertical_speed = point_with_speed(steepest, -steepest.vel_local.z);
  figures.rollout_start = point_with_speed(rollout, -rollout.vel_local.z);
  figures.rollout_end = rollout_end(run);
  figures.max_total_speed = point_with_speed(fastest, total_speed(fastest));
  figures.max_horizontal_speed = point_with_speed(fastest_level, horizontal_speed(fastest_level));

  figures.rotation = {std::fabs(run.turn_degrees), figure_unit::degrees, 0};
  figures.turn_direction = run.turn_degrees >= 0.0 ? "right-hand" : "left-hand";
  figures.turn_time = seconds(track[run.top_of_turn].time, rollout.time);
  figures.rollout_time = seconds(rollout.time, run.bottom_time);
  figures.aloft_time = seconds(run.bottom_time, run.touchdown_time);

  // NaN counts as found and is printed.
  figures.entry_gate_speed = short_or_hyphens(run.entry_gate_speed != 0.0, "----", speed(run.entry_gate_speed));
  figures.stop_distance = length(track[run.stop].pos_local.x);
  figures.touchdown_distance = length(run.touchdown_distance);
  figures.touchdown_speed = speed(run.touchdown_speed);
  figures.carve_time =
      short_or_hyphens(run.exit_gate_time != 0, "----", seconds(run.entry_gate_time, run.exit_gate_time));
  figures.exit_gate_speed = short_or_hyphens(run.exit_gate_speed != 0.0, "----", speed(run.exit_gate_speed));
  return figures;
}

figure_text print_figure(const report_figure &figure, const display_units &units) {
  figure_text printed;
  const std::size_t size = figure.is_short ? short_size : sizeof printed.text;
  if (figure.missing != nullptr) {
    std::snprintf(printed.text, size, "%s", figure.missing);
    return printed;
  }
  double value = printed_value(figure, units);
  if (figure.hides_minus_zero && std::fabs(value) < 0.5) value = 0.0;
  std::snprintf(printed.text, size, "%.*f", figure.decimals, value);
  return printed;
}

}  // namespace tarvel
