#include <utility>

#include "chart/chart_building.h"
#include "chart/run_charts.h"
#include "support/format_text.h"
#include "support/time.h"
#include "support/units.h"

namespace tarvel {

namespace {

// Negative before the reference, which is the entry gate or, without one, the top of the turn.
double seconds_since(std::int64_t reference, const gps_point &sample) {
  return static_cast<double>(elapsed(reference, sample.time)) / 1000.0;
}

template <typename measure>
bool add_accuracy(chart &target, const chart_context &context, std::uint32_t colour, const char *label,
                  measure value_of) {
  const swoop &run = context.run;
  const std::int64_t reference = run.entry_gate_time != 0 ? run.entry_gate_time : run.track[run.top_of_turn].time;
  owned_record<series> curve =
      make_track_series(run, {first_sample(context), run.stop + 1}, [&](const gps_point &sample) {
        return vec2{seconds_since(reference, sample), value_of(sample)};
      });
  owned_text words = try_duplicate(label);
  return words && add_series(target, std::move(curve), series_style::solid, colour, std::move(words));
}

}  // namespace

owned_record<chart> build_gps_accuracy_chart(const chart_context &context) {
  const display_units units = display_units_for(context.metric);
  const double length = units.length_factor;
  const double speed = units.speed_factor;
  owned_record<chart> made = make_chart(format_text("GPS accuracy"), format_text("time (s)"),
                                        format_text("(%s, %s, number of satellites)", units.lengths, units.speed));
  const bool is_complete = made &&
                           add_accuracy(*made, context, blue, "horz_acc",
                                        [&](const gps_point &s) { return static_cast<double>(s.hacc) * length; }) &&
                           add_accuracy(*made, context, green, "vert_acc",
                                        [&](const gps_point &s) { return static_cast<double>(s.vacc) * length; }) &&
                           add_accuracy(*made, context, red, "speed_acc",
                                        [&](const gps_point &s) { return static_cast<double>(s.sacc) * speed; }) &&
                           add_accuracy(*made, context, purple, "satellites",
                                        [](const gps_point &s) { return static_cast<double>(s.numsv); });
  return is_complete ? std::move(made) : nullptr;
}

}  // namespace tarvel
