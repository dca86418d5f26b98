// Simulated runs of every kind, by name.
#pragma once

#include "support/simulator.h"

namespace tarvel {

struct named_run {
  const char *name;
  void (*change)(simulated_run &run);
};

inline const named_run named_runs[] = {
    {"plain", [](simulated_run &) {}},
    {"small", [](simulated_run &r) { r = small_run(); }},
    {"carve_left", [](simulated_run &r) { r.carve_rate = 1.0714; }},
    {"carve_right", [](simulated_run &r) { r.carve_rate = -1.0714; }},
    {"reversed", [](simulated_run &r) { r.reversed = true; }},
    {"beside_the_gate", [](simulated_run &r) { r.gate_offset = 20.0; }},
    {"left_turn", [](simulated_run &r) { r.turn_degrees = -630.0; }},
    {"without_exit", [](simulated_run &r) { r.plane_seconds = r.freefall_seconds = 0.0; }},
    {"long_freefall", [](simulated_run &r) { r.exit_height = 4000.0, r.freefall_seconds = 40.0; }},
    {"noisy", [](simulated_run &r) { r.speed_noise = 3.0; }},
    {"slow_logger", [](simulated_run &r) { r.rate = 1.0; }},
    {"fast_logger", [](simulated_run &r) { r.rate = 25.0; }},
    {"tagged", [](simulated_run &r) { r.form = track_form::tagged_lines, r.rate = 5.0; }},
    {"southern", [](simulated_run &r) { r.gate_latitude = -33.9, r.gate_longitude = -179.9999; }},
    {"equator", [](simulated_run &r) { r.gate_latitude = r.gate_longitude = 0.0; }},
    {"polar", [](simulated_run &r) { r.gate_latitude = 89.99, r.course_bearing = 0.0; }},
    {"never_stops", [](simulated_run &r) { r.standing_seconds = 0.0, r.swoop_seconds = 5.0; }},
};

[[nodiscard]] inline simulated_run run_named(const named_run &given) {
  simulated_run run;
  given.change(run);
  return run;
}

}  // namespace tarvel
