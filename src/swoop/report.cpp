#include "swoop/report.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "support/text_buffer.h"
#include "support/time.h"
#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

// At most five characters: a longer value is cut, so that the report keeps its columns.
struct short_text {
  char text[6];
};

[[gnu::format(printf, 4, 0)]] short_text value_or_hyphens(bool is_known, const char *hyphens, double value,
                                                          const char *format) {
  short_text result;
  if (is_known) {
    std::snprintf(result.text, sizeof result.text, format, value);
  } else {
    std::snprintf(result.text, sizeof result.text, "%s", hyphens);
  }
  return result;
}

vec3 scaled(const vec3 &v, double factor) { return {v.x * factor, v.y * factor, v.z * factor}; }

// Keeps a minus sign from a distance that prints as 0.
double negated_unless_small(double value) { return std::fabs(value) < 0.5 ? 0.0 : -value; }

void print_point(text_buffer &text, const char *label, const vec3 &point, const display_units &units, double back,
                 double offset) {
  text_buffer_printf(text, "%-21s %4.0f %s AGL, %4.0f %s back, %4.0f %s offset", label, point.z, units.length, back,
                     units.length, offset, units.length);
}

void print_point_with_speed(text_buffer &text, const char *label, const gps_point &sample, double speed,
                            const display_units &units) {
  const vec3 point = scaled(sample.pos_local, units.length_factor);
  print_point(text, label, point, units, -point.x, -point.y);
  text_buffer_printf(text, " (%.1f %s)\n", speed * units.speed_factor, units.speed);
}

void print_phases(text_buffer &text, const swoop &run, const display_units &units) {
  const gps_point *const track = run.track.get();
  const short_text exit_altitude =
      value_or_hyphens(run.plane_exit != 0, "-----", track[run.plane_exit].pos_local.z * units.length_factor, "%5.0f");
  text_buffer_printf(text, "exited airplane:     %s %s AGL\n", exit_altitude.text, units.length);

  const vec3 turn = scaled(track[run.top_of_turn].pos_local, units.length_factor);
  print_point(text, "initiated turn:", turn, units, -turn.x, -turn.y);
  text_buffer_printf(text, "\n");

  const gps_point &fastest_descent = track[run.max_vert_speed];
  print_point_with_speed(text, "max vertical speed:", fastest_descent, -fastest_descent.vel_local.z, units);
  const gps_point &rollout = track[run.rollout];
  print_point_with_speed(text, "started rollout:", rollout, -rollout.vel_local.z, units);

  const vec3 bottom = scaled({run.bottom_xpos, run.bottom_ypos, run.bottom_zpos}, units.length_factor);
  print_point(text, "finished rollout:", bottom, units, negated_unless_small(bottom.x), negated_unless_small(bottom.y));
  text_buffer_printf(text, "\n");

  const gps_point &fastest = track[run.max_total_speed];
  print_point_with_speed(text, "max total speed:", fastest, total_speed(fastest), units);
  const gps_point &fastest_level = track[run.max_horz_speed];
  print_point_with_speed(text, "max horizontal speed:", fastest_level, horizontal_speed(fastest_level), units);
}

void print_turn(text_buffer &text, const swoop &run) {
  const gps_point *const track = run.track.get();
  text_buffer_printf(text, "degrees of rotation:      %4.0f deg (%s)\n", std::fabs(run.turn_degrees),
                     run.turn_degrees >= 0.0 ? "right-hand" : "left-hand");
  text_buffer_printf(text, "time to execute turn:    %5.2f sec\n",
                     unsigned_seconds(track[run.top_of_turn].time, track[run.rollout].time));
  text_buffer_printf(text, "time during rollout:     %5.2f sec\n",
                     unsigned_seconds(track[run.rollout].time, run.bottom_time));
  text_buffer_printf(text, "time aloft during swoop: %5.2f sec\n",
                     unsigned_seconds(run.bottom_time, run.touchdown_time));
}

// A speed or time that is not a number was found, though not well, and is shown.
void print_scores(text_buffer &text, const swoop &run, const display_units &units) {
  const short_text entry_speed =
      value_or_hyphens(run.entry_gate_speed != 0.0, "----", run.entry_gate_speed * units.speed_factor, "%.1f");
  const short_text carve_time = value_or_hyphens(run.exit_gate_time != 0, "----",
                                                 unsigned_seconds(run.entry_gate_time, run.exit_gate_time), "%.2f");
  const short_text exit_speed =
      value_or_hyphens(run.exit_gate_speed != 0.0, "----", run.exit_gate_speed * units.speed_factor, "%.1f");
  text_buffer_printf(text, "entry gate speed:      %s %s\n", entry_speed.text, units.speed);
  text_buffer_printf(text, "distance to stop:      %.0f %s\n", run.track[run.stop].pos_local.x * units.length_factor,
                     units.length);
  text_buffer_printf(text, "touchdown estimate:    %.0f %s (%.1f %s)\n", run.touchdown_distance * units.length_factor,
                     units.length, run.touchdown_speed * units.speed_factor, units.speed);
  text_buffer_printf(text, "speed carve time:      %s sec (%s %s)\n", carve_time.text, exit_speed.text, units.speed);
}

}  // namespace

owned_text format_swoop_report(const swoop &run, bool metric, error_slot *error) {
  *error = nullptr;
  const display_units units = display_units_for(metric);
  text_buffer text = text_buffer_create(error);
  if (*error) return nullptr;

  print_phases(text, run, units);
  text_buffer_printf(text, "\n");
  print_turn(text, run);
  text_buffer_printf(text, "\n");
  print_scores(text, run, units);
  if (*error) return nullptr;
  return std::move(text.data);
}

}  // namespace tarvel
