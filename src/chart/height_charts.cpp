#include <utility>

#include "chart/chart_building.h"
#include "chart/heading_split.h"
#include "chart/run_charts.h"
#include "support/format_text.h"
#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

sample_range turn_range(const chart_context &context) {
  return {first_sample(context), context.run.bottom_of_turn + 1};
}

// Height grows to the left, so that time goes from left to right.
owned_record<chart> make_height_chart(const chart_context &context, const char *title, owned_text y_title,
                                      double y_step) {
  const display_units units = display_units_for(context.metric);
  owned_record<chart> made =
      make_chart(try_duplicate(title), format_text("height (%s)", units.lengths), std::move(y_title));
  if (!made) return nullptr;
  made->reverse_x = true;
  // A chart from the exit on would have too many fixed ticks.
  if (!context.from_exit) made->x_step = context.metric ? 50.0 : 200.0;
  made->y_step = y_step;
  return made;
}

// A series of a value over height.
template <typename measure>
owned_record<series> make_height_series(const chart_context &context, measure value_of) {
  const double length = display_units_for(context.metric).length_factor;
  return make_track_series(context.run, turn_range(context), [&](const gps_point &sample) {
    return vec2{sample.pos_local.z * length, value_of(sample)};
  });
}

template <typename measure>
bool add_speed(chart &target, const chart_context &context, std::uint32_t colour, owned_text label, measure speed_of) {
  const double factor = display_units_for(context.metric).speed_factor;
  owned_record<series> curve =
      make_height_series(context, [&](const gps_point &sample) { return speed_of(sample) * factor; });
  return label && add_series(target, std::move(curve), series_style::solid, colour, std::move(label));
}

owned_text greatest_speed_label(const chart_context &context, const char *what, double speed, const gps_point &sample) {
  const display_units units = display_units_for(context.metric);
  return format_text("%s (max %.1f %s @ %.0f %s)", what, speed * units.speed_factor, units.speed,
                     sample.pos_local.z * units.length_factor, units.length);
}

double descent_speed(const gps_point &sample) { return -sample.vel_local.z; }

// The sum of turn angles, which does not wrap: a turn of 400 degrees goes past 360.
owned_record<series> make_heading_series(const chart_context &context) {
  const sample_range range = turn_range(context);
  const gps_point *const track = context.run.track.get();
  double heading = track[range.first].heading;
  bool is_first = true;
  owned_record<series> curve = make_height_series(context, [&](const gps_point &sample) {
    if (!is_first) heading += sample.turn_angle;
    is_first = false;
    return heading;
  });
  if (!curve) return nullptr;
  curve->colour = red;
  const bool is_split = split_heading_series(*curve, {track + range.first, curve->count}, 0);
  return is_split ? std::move(curve) : nullptr;
}

}  // namespace

owned_record<chart> build_dive_angle_chart(const chart_context &context) {
  owned_record<chart> made = make_height_chart(context, "dive angle", format_text("dive angle (deg)"), 10.0);
  const bool is_complete =
      made && add_series(*made, make_height_series(context, [](const gps_point &s) { return s.dive_angle; }),
                         series_style::solid, red, nullptr);
  return is_complete ? std::move(made) : nullptr;
}

owned_record<chart> build_dive_speed_chart(const chart_context &context) {
  const swoop &run = context.run;
  const gps_point &steepest = run.track[run.max_vert_speed];
  const gps_point &fastest = run.track[run.max_total_speed];
  owned_record<chart> made = make_height_chart(context, "speed during dive",
                                               format_text("speed (%s)", display_units_for(context.metric).speed),
                                               context.metric ? 20.0 : 10.0);
  const bool is_complete =
      made &&
      add_speed(*made, context, blue, format_text("x-axis"), [](const gps_point &s) { return s.vel_local.x; }) &&
      add_speed(*made, context, green, format_text("y-axis"), [](const gps_point &s) { return s.vel_local.y; }) &&
      add_speed(*made, context, red, greatest_speed_label(context, "z-axis", descent_speed(steepest), steepest),
                descent_speed) &&
      add_speed(*made, context, purple, greatest_speed_label(context, "total", total_speed(fastest), fastest),
                total_speed);
  return is_complete ? std::move(made) : nullptr;
}

owned_record<chart> build_heading_chart(const chart_context &context) {
  owned_record<chart> made = make_height_chart(context, "heading", format_text("heading (deg)"), 45.0);
  owned_record<series> curve = make_heading_series(context);
  if (!made || !curve) return nullptr;
  chart_add_series(*made, std::move(curve));
  return made;
}

owned_record<chart> build_turn_rate_chart(const chart_context &context) {
  owned_record<chart> made = make_height_chart(context, "turn rate", format_text("turn rate (deg/sec)"), 0.0);
  const bool is_complete =
      made && add_series(*made, make_height_series(context, [](const gps_point &s) { return s.turn_rate; }),
                         series_style::solid, red, nullptr);
  return is_complete ? std::move(made) : nullptr;
}

}  // namespace tarvel
