// The figures of the report, as values and as printed text.
#pragma once

#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

enum class figure_unit { metres, metres_per_second, seconds, degrees };

struct report_figure {
  double value = 0.0;  // in its unit
  figure_unit unit = figure_unit::metres;
  int decimals = 0;               // as printed
  const char *missing = nullptr;  // what is printed instead of a figure that was not found; null for one that was
  bool is_short = false;          // at most five characters are printed, so that columns stay aligned
  bool hides_minus_zero = false;  // prints 0 instead of -0
};

struct report_point {
  report_figure altitude;
  report_figure back;    // from the entry gate, against the course
  report_figure offset;  // to the right of the course
};

struct report_point_with_speed {
  report_point place;
  report_figure speed;
};

// In the order of the report.
struct report_figures {
  report_figure exit_altitude;
  report_point turn;
  report_point_with_speed max_vertical_speed;
  report_point_with_speed rollout_start;  // the speed is the vertical one
  report_point rollout_end;
  report_point_with_speed max_total_speed;
  report_point_with_speed max_horizontal_speed;

  report_figure rotation;
  const char *turn_direction = nullptr;  // "right-hand" or "left-hand"
  report_figure turn_time;
  report_figure rollout_time;
  report_figure aloft_time;

  report_figure entry_gate_speed;
  report_figure stop_distance;
  report_figure touchdown_distance;
  report_figure touchdown_speed;
  report_figure carve_time;
  report_figure exit_gate_speed;
};

// The figures of an analysed run.
[[nodiscard]] report_figures figures_of(const swoop &run);

// A double has at most 309 digits before its point.
struct figure_text {
  char text[320];
};

// The figure as in the report, without padding.
[[nodiscard]] figure_text print_figure(const report_figure &figure, const display_units &units);

}  // namespace tarvel
