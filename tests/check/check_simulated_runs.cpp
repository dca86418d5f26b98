// Checks simulated runs whose truth is known: one line for each figure of each run, for scripts/check_coverage.
//
//   check_simulated_runs [--first F] [--runs N] [--seed S] [--rate R] [--draws D] [--noise NAME] [--even-if-withheld]
//
// The truth is what the analysis says of the flight without noise. A simulated flight is too smooth: its greatest
// speeds lie on plateaus that no logger sees. Fluctuations below 0.7 Hz are therefore added, velocity and position
// alike.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "check/reasons.h"
#include "check/run_check.h"
#include "support/hand_made_run.h"
#include "support/simulated_flights.h"

namespace tarvel {
namespace {

struct settings : run_settings {
  noise_kind noise;
};

std::string names_of(const run_verdict &verdict) {
  std::string names;
  for (const reason &each : reasons_of(verdict)) {
    names += names.empty() ? "" : ",";
    names += rule_of(each.code).name;
  }
  return names;
}

void print_check(int number, run_kind kind, double rate, const figure_values &truth, const run_check &check,
                 const run_verdict &verdict, double seconds) {
  std::printf(
      "run %d %s %g reason=%d ratio=%.3f scale=%.3f wander_h=%.3f wander_v=%.3f memory=%.3f lag_h=%.3f lag_v=%.3f "
      "rough=%.2f peak=%.2f jerk=%.1f contradiction=%.3f "
      "failed=%.4f other_hand=%.4f other_degrees=%.4f samples=%u seconds=%.3f verdict=%d "
      "names=%s\n",
      number, kind_names[static_cast<int>(kind)], rate, static_cast<int>(check.reason), check.noise.ratio,
      check.noise.velocity, check.noise.wander[0], check.noise.wander[1], check.noise.memory.velocity,
      check.lag.horizontal, check.lag.vertical, check.roughness, check.peak, check.jerk, check.contradiction,
      check.failed, check.other_hand, check.other_degrees, check.samples, seconds, static_cast<int>(verdict.worst),
      names_of(verdict).c_str());
  for (std::size_t i = 0; i < figure_count; ++i) {
    const figure_check &each = check.figures[i];
    std::printf("%zu %.9g %.9g %d %.9g %.9g %.4f\n", i, truth[i], each.value, each.has_interval, each.range.low,
                each.range.high, each.missing);
  }
}

double rate_of(int number, const settings &given) {
  constexpr double rates[] = {5.0, 10.0, 20.0};
  return given.rate > 0.0 ? given.rate : rates[number / 4 % 3];
}

// False when the noise or the flight leaves nothing to check.
bool check_one(int number, random_source &source, const settings &given) {
  const simulated_flight flight = random_flight(source, static_cast<run_kind>(number % 4), rate_of(number, given));
  swoop truth;
  if (!find_truth(flight, truth)) return false;
  swoop measured = run_of(measured_points(flight, given.noise, source));
  if (!analyse(measured, flight)) return false;
  run_check check;
  error_slot error = nullptr;
  const std::clock_t start = std::clock();
  check_run(measured, given.check, check, &error);
  if (error) std::abort();
  print_check(number, flight.kind, flight.run.rate, values_of(truth), check, judge_run(measured, check),
              static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  return true;
}

noise_kind noise_of(const char *name) {
  const noise_kind *const kind = noise_named(name);
  if (kind != nullptr) return *kind;
  std::fprintf(stderr, "check_simulated_runs: no noise of that name: %s\n", name);
  std::exit(2);
}

settings parse(int argc, char *argv[]) {
  settings given;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--even-if-withheld") {
      given.check.even_if_withheld = true;
      continue;
    }
    if (i + 1 == argc) std::exit(2);
    const char *const value = argv[++i];
    if (!take_setting(given, option, value) && option == "--noise") given.noise = noise_of(value);
  }
  return given;
}

}  // namespace
}  // namespace tarvel

int main(int argc, char *argv[]) {
  using namespace tarvel;
  const settings given = parse(argc, argv);
  check_runs(given, [&](int number, random_source &source) { return check_one(number, source, given); });
  return 0;
}
