// A flight through the gate for tests of checks, without errors and with those of a logger.
#pragma once

#include <cmath>
#include <vector>

#include "check/random_draws.h"
#include "support/hand_made_run.h"
#include "support/simulated_swoop.h"
#include "swoop/analysis.h"

namespace tarvel {

// 4 s level, 3 s of fall, 2 s of opening, 120 s of descent, 4 s of dive through 270 degrees or at another rate (degrees
// per second), 4 s of rollout, the gate; then the swoop and what the pilot does on the ground.
[[nodiscard]] inline std::vector<gps_point> flight_samples(const std::vector<flight_leg> &from_the_gate_on,
                                                           double turn_rate = 67.5) {
  std::vector<flight_leg> legs = {{4.0, 40.0, 0.0, 0.0},   {3.0, 30.0, 30.0, 0.0},       {2.0, 15.0, 6.0, 0.0},
                                  {120.0, 15.0, 6.0, 0.0}, {4.0, 15.0, 30.0, turn_rate}, {4.0, 25.0, 0.0, 0.0}};
  legs.insert(legs.end(), from_the_gate_on.begin(), from_the_gate_on.end());
  return logged(fly(legs, 6), simulated_frame());
}

[[nodiscard]] inline std::vector<gps_point> flight_samples() {
  return flight_samples({{6.0, 0.0, 0.0, 0.0}, {20.0, 0.0, 0.0, 0.0}});
}

// The pilot turns away at the stop and goes on for 40 s at 6 m/s, faster than a landing may be; then stands.
[[nodiscard]] inline std::vector<gps_point> flight_that_goes_on(double standing_seconds) {
  return flight_samples({{4.0, 6.0, 0.0, 0.0},
                         {2.0, 6.0, 0.0, 45.0},
                         {40.0, 6.0, 0.0, 0.0},
                         {1.0, 0.0, 0.0, 0.0},
                         {standing_seconds, 0.0, 0.0, 0.0}});
}

// Velocity errors of 0.5 m/s / sqrt(3) that last 2 s, or that are new in each sample; positions as they were.
[[nodiscard]] inline std::vector<gps_point> with_velocity_errors(std::vector<gps_point> samples, double scale = 1.0,
                                                                 double memory = 2.0) {
  random_source source(11);
  const double kept = std::exp(-0.2 / memory);
  const double fresh = std::sqrt(1.0 - kept * kept);
  vec3 error = {source.normal(), source.normal(), source.normal()};
  for (gps_point &sample : samples) {
    const double sigma = scale * 0.5 / std::sqrt(3.0);
    sample.vel_ltp.x += sigma * error.x;
    sample.vel_ltp.y += sigma * error.y;
    sample.vel_ltp.z += sigma * error.z;
    error = {kept * error.x + fresh * source.normal(), kept * error.y + fresh * source.normal(),
             kept * error.z + fresh * source.normal()};
  }
  return samples;
}

[[nodiscard]] inline swoop analysed(const std::vector<gps_point> &samples, std::int32_t gate_type = gate_type_course) {
  swoop run = run_of(samples);
  error_slot error = nullptr;
  analyze_swoop(run, gate_type, simulated_frame(), 0.0, &error);
  EXPECT_STREQ(error, nullptr);
  return run;
}

}  // namespace tarvel
