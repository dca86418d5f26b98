#include "swoop/report.h"

#include <utility>

#include "support/text_buffer.h"
#include "support/units.h"
#include "swoop/report_figures.h"

namespace tarvel {

namespace {

// The state of the report while it is printed.
struct report_text {
  text_buffer buffer;
  display_units units;

  [[nodiscard]] figure_text operator()(const report_figure &figure) const { return print_figure(figure, units); }
};

void print_point(report_text &text, const char *label, const report_point &point) {
  const char *const unit = text.units.length;
  text_buffer_printf(text.buffer, "%-21s %4s %s AGL, %4s %s back, %4s %s offset", label, text(point.altitude).text,
                     unit, text(point.back).text, unit, text(point.offset).text, unit);
}

void print_point_with_speed(report_text &text, const char *label, const report_point_with_speed &point) {
  print_point(text, label, point.place);
  text_buffer_printf(text.buffer, " (%s %s)\n", text(point.speed).text, text.units.speed);
}

void print_phases(report_text &text, const report_figures &figures) {
  text_buffer_printf(text.buffer, "exited airplane:     %5s %s AGL\n", text(figures.exit_altitude).text,
                     text.units.length);
  print_point(text, "initiated turn:", figures.turn);
  text_buffer_printf(text.buffer, "\n");
  print_point_with_speed(text, "max vertical speed:", figures.max_vertical_speed);
  print_point_with_speed(text, "started rollout:", figures.rollout_start);
  print_point(text, "finished rollout:", figures.rollout_end);
  text_buffer_printf(text.buffer, "\n");
  print_point_with_speed(text, "max total speed:", figures.max_total_speed);
  print_point_with_speed(text, "max horizontal speed:", figures.max_horizontal_speed);
}

void print_turn(report_text &text, const report_figures &figures) {
  text_buffer_printf(text.buffer, "degrees of rotation:      %4s deg (%s)\n", text(figures.rotation).text,
                     figures.turn_direction);
  text_buffer_printf(text.buffer, "time to execute turn:    %5s sec\n", text(figures.turn_time).text);
  text_buffer_printf(text.buffer, "time during rollout:     %5s sec\n", text(figures.rollout_time).text);
  text_buffer_printf(text.buffer, "time aloft during swoop: %5s sec\n", text(figures.aloft_time).text);
}

void print_scores(report_text &text, const report_figures &figures) {
  const display_units &units = text.units;
  text_buffer_printf(text.buffer, "entry gate speed:      %s %s\n", text(figures.entry_gate_speed).text, units.speed);
  text_buffer_printf(text.buffer, "distance to stop:      %s %s\n", text(figures.stop_distance).text, units.length);
  text_buffer_printf(text.buffer, "touchdown estimate:    %s %s (%s %s)\n", text(figures.touchdown_distance).text,
                     units.length, text(figures.touchdown_speed).text, units.speed);
  text_buffer_printf(text.buffer, "speed carve time:      %s sec (%s %s)\n", text(figures.carve_time).text,
                     text(figures.exit_gate_speed).text, units.speed);
}

}  // namespace

owned_text format_swoop_report(const swoop &run, bool metric, error_slot *error) {
  *error = nullptr;
  report_text text = {text_buffer_create(error), display_units_for(metric)};
  if (*error) return nullptr;

  const report_figures figures = figures_of(run);
  print_phases(text, figures);
  text_buffer_printf(text.buffer, "\n");
  print_turn(text, figures);
  text_buffer_printf(text.buffer, "\n");
  print_scores(text, figures);
  if (*error) return nullptr;
  return std::move(text.buffer.data);
}

}  // namespace tarvel
