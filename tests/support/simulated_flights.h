// Simulated flights with natural fluctuations and the errors of a logger, to measure how well a check does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "check/random_draws.h"
#include "check/run_check.h"
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

// The run without noise. False when it leaves nothing to check: the analysis fails, or a carve does not end in its
// gate.
[[nodiscard]] bool find_truth(const simulated_flight &flight, swoop &truth);

// What both programs of simulated runs are told.
struct run_settings {
  int runs = 100;
  std::uint64_t seed = 1;
  check_settings check;
};

// Takes --runs, --seed or --draws and its value; false for any other option.
bool take_setting(run_settings &given, const std::string &option, const char *value);

// Calls check_one(number, source) for each run, each with random numbers of its own. False means that a flight left
// nothing to check: another one is tried, up to 20 times.
template <typename action>
void check_runs(const run_settings &given, action check_one) {
  for (int number = 0; number < given.runs; ++number) {
    random_source source(given.seed * 1000000 + static_cast<std::uint64_t>(number) * 16);
    for (int attempt = 0; attempt < 20 && !check_one(number, source); ++attempt) {
    }
  }
}

}  // namespace tarvel
