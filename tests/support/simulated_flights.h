// Simulated flights with natural fluctuations and the errors of a logger, to measure how good the results of a check
// are.
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

// A kind of noise, as differences from the noise that a check assumes.
struct noise_kind {
  const char *name = "usual";
  double memory = 2.0;  // s, the correlation time of the velocity's error
  double stated = 1.0;  // the stated speed accuracy, as a part of the true one
  double lag = 0.0;     // s by which velocities are late
  double wander = 1.0;
  int degrees = 4;  // degrees of freedom of the t distribution of the errors; 0: all flights have the same scale
};

// The kind of noise of this name; null when there is none.
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

// The flight as a logger writes it: with errors, rounded to the digits of its files.
[[nodiscard]] std::vector<gps_point> measured_points(const simulated_flight &flight, const noise_kind &noise,
                                                     random_source &source);

// Analyses the run over the flight's course. False when that fails.
[[nodiscard]] bool analyse(swoop &run, const simulated_flight &flight);

// Analyses the flight without noise. False when there is nothing to check: the analysis fails, or a carve does not end
// in its gate.
[[nodiscard]] bool find_truth(const simulated_flight &flight, swoop &truth);

// The options that both programs of simulated runs have.
struct run_settings {
  int first = 0;  // number of the first run: several calls may share the runs of a seed
  int runs = 100;
  std::uint64_t seed = 1;
  double rate = 0.0;  // samples a second of all runs; 0: 5, 10 and 20
  check_settings check;
};

// Takes --first, --runs, --seed, --rate or --draws and its value; false for any other option.
bool take_setting(run_settings &given, const std::string &option, const char *value);

// Calls check_one(number, source) for each run, with separate random numbers. When it returns false, the flight left
// nothing to check: another one is tried, up to 20 times.
template <typename action>
void check_runs(const run_settings &given, action check_one) {
  for (int number = given.first; number < given.first + given.runs; ++number) {
    random_source source(given.seed * 1000000 + static_cast<std::uint64_t>(number) * 16);
    for (int attempt = 0; attempt < 20 && !check_one(number, source); ++attempt) {
    }
  }
}

}  // namespace tarvel
