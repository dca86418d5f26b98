#include "swoop/gates.h"

#include <limits>

#include "geo/plane.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double farthest_gate = 1000.0;          // m
constexpr double gate_half_width = 15.0;          // m; twice the course's lane
constexpr double feet_per_printed_mile = 5180.0;  // used in one message; a statute mile has 5,280 ft

bool flies_past(double from, double to) { return (from < 0.0 && to < 0.0) || (from > 0.0 && to > 0.0); }

}  // namespace

void check_gate_location(swoop &run, error_slot *error) {
  double nearest = std::numeric_limits<double>::infinity();
  for (const gps_point &sample : samples_of(run)) {
    const double distance = distance_3d({0.0, 0.0, 0.0}, sample.pos_local);
    if (distance < nearest) nearest = distance;
    if (nearest < farthest_gate) return;
  }
  *error = format_error("invalid gate location (%0.1f miles between gate and swoop)",
                        nearest * feet_per_metre / feet_per_printed_mile);
}

void detect_entry_gate(swoop &run, error_slot *) {
  run.entry_gate_speed = 0.0;
  run.entry_gate_ypos = 0.0;
  run.entry_gate_time = 0;
  run.entry_gate = 0;

  const std::span<const gps_point> samples = samples_of(run);
  const double rollout_x = samples[run.rollout].pos_local.x;
  const double stop_x = samples[run.stop].pos_local.x;
  if (flies_past(rollout_x, stop_x)) return;
  const bool is_reversed = rollout_x > 0.0 && stop_x < 0.0;
  if (is_reversed) run.reversal_detected = true;

  std::uint32_t before = 0;
  for (std::uint32_t k = run.rollout + 1; k <= run.stop; ++k) {
    const double x = samples[k].pos_local.x;
    if (is_reversed ? x <= 0.0 : x >= 0.0) {
      before = k - 1;
      break;
    }
  }
  const gps_point &a = samples[before];
  const gps_point &b = samples[before + 1];
  const double y = interpolate(a.pos_local.y, b.pos_local.y, a.pos_local.x, b.pos_local.x, 0.0);
  if (y < -gate_half_width || y > gate_half_width) return;

  run.entry_gate = before;
  run.entry_gate_ypos = y;
  run.entry_gate_time = crossing_time(a, b, a.pos_local.x, b.pos_local.x, 0.0);
  run.entry_gate_speed = interpolate(horizontal_speed(a), horizontal_speed(b), a.pos_local.x, b.pos_local.x, 0.0);
}

}  // namespace tarvel
