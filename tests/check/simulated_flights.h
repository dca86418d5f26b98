// Simulated runs as pilots fly them and loggers measure them, for measuring what checks are worth.
#pragma once

#include <cstdint>
#include <vector>

#include "check/random_draws.h"
#include "support/simulator.h"
#include "swoop/swoop.h"
#include "track/course.h"

namespace tarvel {

// How the noise differs from what a check takes for usual.
struct noise_kind {
  const char *name = "usual";
  double memory = 2.0;  // s that a velocity's error lasts
  double stated = 1.0;  // of the speed accuracy that holds, the one that is stated
  double lag = 0.0;     // s that velocities are late
  double wander = 1.0;
  int degrees = 4;  // of the t that the common scale gives; 0: one scale for all
};

// Null for a name that there is none of.
[[nodiscard]] const noise_kind *noise_named(const char *name);

enum class run_kind { straight, carve, reversed, without_course };
inline const char *const kind_names[] = {"straight", "carve", "reversed", "without_course"};

// A flight with natural fluctuations, and its course.
struct simulated_flight {
  run_kind kind = run_kind::straight;
  simulated_run run;
  std::vector<gps_point> exact;  // what a logger without errors and with all digits would write
  course flown;
};

[[nodiscard]] double between(random_source &source, double low, double high);
[[nodiscard]] simulated_flight random_flight(random_source &source, run_kind kind, double rate);

// As a logger writes it: with errors, rounded to the digits of its files.
[[nodiscard]] std::vector<gps_point> measured_points(const simulated_flight &flight, const noise_kind &noise,
                                                     random_source &source);

// False when the analysis fails.
[[nodiscard]] bool analyse(swoop &run, const simulated_flight &flight);

// The run without noise. False when it leaves nothing to check: the analysis fails, or a carve does not end in its gate.
[[nodiscard]] bool find_truth(const simulated_flight &flight, swoop &truth);

}  // namespace tarvel
