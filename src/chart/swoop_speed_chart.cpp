#include <algorithm>
#include <utility>

#include "chart/chart_building.h"
#include "chart/run_charts.h"
#include "support/format_text.h"
#include "support/time.h"
#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

// A marked point of the chart with its legend, in m and m/s.
struct annotation {
  const char *what;
  double distance = 0.0;
  double speed = 0.0;
  std::uint32_t colour = 0;
};

bool add_point(chart &target, const annotation &note, const display_units &units, owned_text label) {
  owned_record<series> mark = series_new(1);
  return mark && label &&
         series_add_point(*mark, {note.distance * units.length_factor, note.speed * units.speed_factor}) &&
         add_series(target, std::move(mark), series_style::filled_circle, note.colour, std::move(label));
}

bool add_annotation(chart &target, const annotation &note, const display_units &units) {
  owned_text label = format_text("%s (%.1f %s @ %.0f %s)", note.what, note.speed * units.speed_factor, units.speed,
                                 note.distance * units.length_factor, units.length);
  return add_point(target, note, units, std::move(label));
}

bool add_exit_gate(chart &target, const swoop &run, const display_units &units) {
  const annotation note = {"exit gate", run.exit_gate_xpos, run.exit_gate_speed, purple};
  const double seconds = unsigned_seconds(run.entry_gate_time, run.exit_gate_time);
  owned_text label = format_text("%s (%.1f %s @ %.0f %s)(%.2f sec)", note.what, note.speed * units.speed_factor,
                                 units.speed, note.distance * units.length_factor, units.length, seconds);
  return add_point(target, note, units, std::move(label));
}

std::uint32_t first_swoop_sample(const swoop &run) {
  return run.entry_gate == 0 ? run.max_horz_speed : std::min(run.entry_gate, run.max_horz_speed);
}

bool add_swoop(chart &target, const swoop &run, const display_units &units) {
  owned_record<series> curve =
      make_track_series(run, {first_swoop_sample(run), run.stop + 1}, [&](const gps_point &sample) {
        return vec2{sample.pos_local.x * units.length_factor, horizontal_speed(sample) * units.speed_factor};
      });
  return add_series(target, std::move(curve), series_style::solid, red, nullptr);
}

bool add_annotations(chart &target, const swoop &run, const display_units &units) {
  const gps_point &fastest = run.track[run.max_horz_speed];
  return add_annotation(target, {"max horz speed", fastest.pos_local.x, horizontal_speed(fastest), green}, units) &&
         (run.entry_gate_speed == 0.0 ||
          add_annotation(target, {"entry gate", 0.0, run.entry_gate_speed, blue}, units)) &&
         (run.exit_gate_speed == 0.0 || add_exit_gate(target, run, units)) &&
         add_annotation(target, {"touchdown", run.touchdown_distance, run.touchdown_speed, red}, units);
}

}  // namespace

owned_record<chart> build_swoop_speed_chart(const chart_context &context) {
  const display_units units = display_units_for(context.metric);
  owned_record<chart> made =
      make_chart(format_text("speed during swoop"), format_text("x-axis distance from gate (%s)", units.lengths),
                 format_text("horz speed (%s)", units.speed));
  if (!made) return nullptr;
  made->legend_right = 1;
  made->x_step = context.metric ? 20.0 : 50.0;
  made->y_step = 10.0;
  const bool is_complete = add_swoop(*made, context.run, units) && add_annotations(*made, context.run, units);
  return is_complete ? std::move(made) : nullptr;
}

}  // namespace tarvel
