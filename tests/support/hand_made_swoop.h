// A run of five samples whose numbers can be converted by hand.
#pragma once

#include "chart/run_charts.h"
#include "support/hand_made_run.h"

namespace tarvel {

// Sample 0 is the exit, 1 the top of the turn, 3 the bottom, 4 the stop; one a second from 100 s on.
[[nodiscard]] inline swoop hand_made_swoop() {
  std::vector<gps_point> samples(6);
  const vec3 positions[] = {{-500, 0, 1000}, {-200, 50, 300}, {-100, 20, 100}, {-10, -2, 10}, {60, 1, 1}, {61, 9, 0}};
  const vec3 velocities[] = {{0, 0, -50}, {3, 4, -12}, {10, -20, -30}, {30, 40, -5}, {6, 8, 0}, {1, 1, 1}};
  for (std::size_t i = 0; i < samples.size(); ++i) {
    gps_point &s = samples[i];
    s.time = 100'000 + static_cast<std::int64_t>(i) * 1000;
    s.pos_local = positions[i];
    s.vel_local = velocities[i];
    s.hacc = 0.5F + static_cast<float>(i);
    s.vacc = 10.25F;
    s.sacc = 0.25F;
    s.numsv = static_cast<std::uint8_t>(10 + i);
    s.dive_angle = 10.0 * static_cast<double>(i);
    s.turn_rate = -3.0 * static_cast<double>(i);
  }
  swoop run = run_of(samples);
  run.file = try_duplicate("run.csv");
  run.plane_exit = 0;
  run.top_of_turn = 1;
  run.max_vert_speed = 2;
  run.bottom_of_turn = 3;
  run.max_total_speed = 3;
  run.max_horz_speed = 3;
  run.entry_gate = 3;
  run.stop = 4;
  run.entry_gate_time = 103'250;
  run.entry_gate_speed = 45.0;
  run.exit_gate = 4;
  run.exit_gate_time = 104'000;
  run.exit_gate_speed = 20.0;
  run.exit_gate_xpos = 50.0;
  run.touchdown_distance = 55.5;
  run.touchdown_speed = 15.0;
  return run;
}

}  // namespace tarvel
