// Checks simulated runs whose truth is known: one line for each figure of each run, for scripts/check_coverage.
//
//   check_simulated_runs [--runs N] [--seed S] [--draws D] [--noise NAME] [--even-if-withheld]
//
// The truth is what the analysis says of the flight without noise. A simulated flight is too smooth: its greatest speeds
// lie on plateaus that no logger sees. Fluctuations below 0.7 Hz are therefore added, velocity and position alike.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "check/random_draws.h"
#include "check/reasons.h"
#include "check/run_check.h"
#include "formats/course_file.h"
#include "support/files.h"
#include "support/hand_made_run.h"
#include "support/simulator.h"
#include "swoop/analysis.h"

namespace tarvel {
namespace {

// How the noise differs from what a check takes for usual.
struct noise_kind {
  const char *name = "usual";
  double memory = 2.0;  // s that a velocity's error lasts
  double stated = 1.0;  // of the speed accuracy that holds, the one that is stated
  double lag = 0.0;     // s that velocities are late
  double wander = 1.0;
  int degrees = 4;  // of the t that the common scale gives; 0: one scale for all
};

const noise_kind noise_kinds[] = {
    {},
    {.name = "correlated", .memory = 10.0},
    {.name = "short", .memory = 0.5},
    {.name = "white", .memory = 0.001},
    {.name = "heavy", .degrees = 3},
    {.name = "understated", .stated = 1.0 / 1.5},
    {.name = "overstated", .stated = 2.0},
    {.name = "late", .lag = 0.2},
    {.name = "restless", .wander = 1.5},
    {.name = "gaussian", .degrees = 0},
};

enum class run_kind { straight, carve, reversed, without_course };
const char *const kind_names[] = {"straight", "carve", "reversed", "without_course"};

struct settings {
  int runs = 100;
  std::uint64_t seed = 1;
  check_settings check;
  noise_kind noise;
};

double between(random_source &source, double low, double high) { return low + (high - low) * source.uniform(); }

simulated_run random_run(random_source &source, run_kind kind, double rate) {
  simulated_run run;
  run.rate = rate;
  run.course_bearing = between(source, 0.0, 360.0);
  run.canopy_seconds = between(source, 150.0, 190.0);
  run.straight_seconds = between(source, 4.0, 12.0);
  run.exit_height = between(source, 1350.0, 1550.0);
  run.turn_degrees = between(source, 80.0, 640.0) * (source.uniform() < 0.5 ? -1.0 : 1.0);
  run.turn_seconds = 2.5 + std::fabs(run.turn_degrees) / between(source, 80.0, 110.0);
  run.dive_speed = between(source, 20.0, 37.0);
  run.rollout_seconds = between(source, 2.0, 4.0);
  run.swoop_speed = between(source, 22.0, 36.0);
  run.swoop_height = between(source, 0.5, 2.0);
  run.gate_delay = between(source, 0.3, 1.5);
  run.gate_offset = between(source, -3.0, 3.0);
  run.swoop_seconds = between(source, 6.0, 9.0);
  run.standing_seconds = between(source, 5.0, 30.0);
  if (kind == run_kind::carve) run.carve_rate = source.uniform() < 0.5 ? 1.0714 : -1.0714;
  run.reversed = kind == run_kind::reversed;
  return run;
}

// Eight waves an axis.
class fluctuation {
 public:
  explicit fluctuation(random_source &source) {
    for (wave &each : waves_) each = {between(source, 0.05, 0.7), between(source, 0.0, 6.283185307179586)};
  }
  [[nodiscard]] double velocity(double t) const {
    double sum = 0.0;
    for (const wave &each : waves_) sum += std::sin(6.283185307179586 * each.frequency * t + each.phase);
    constexpr double root_mean_square = 0.15;
    return root_mean_square * sum * std::sqrt(2.0 / 8.0);
  }

 private:
  struct wave {
    double frequency;
    double phase;
  };
  wave waves_[8];
};

// They end in the last two seconds before the stop.
double liveliness(double t, double stop) {
  if (t >= stop) return 0.0;
  return t <= stop - 2.0 ? 1.0 : (stop - t) / 2.0;
}

void add_fluctuations(std::vector<course_sample> &samples, const simulated_run &run, random_source &source) {
  const double stop = truth_of(run).duration - run.standing_seconds;
  const fluctuation x(source);
  const fluctuation y(source);
  const fluctuation z(source);
  constexpr int substeps = 10;
  course_sample moved;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / run.rate;
    samples[i].x += moved.x;
    samples[i].y += moved.y;
    samples[i].z += moved.z;
    samples[i].vx += liveliness(t, stop) * x.velocity(t);
    samples[i].vy += liveliness(t, stop) * y.velocity(t);
    samples[i].vz += liveliness(t, stop) * z.velocity(t);
    for (int k = 0; k < substeps; ++k) {
      const double step = 1.0 / run.rate / substeps;
      const double middle = t + (k + 0.5) * step;
      moved.x += step * liveliness(middle, stop) * x.velocity(middle);
      moved.y += step * liveliness(middle, stop) * y.velocity(middle);
      moved.z += step * liveliness(middle, stop) * z.velocity(middle);
    }
  }
}

std::vector<gps_point> exact_points(const simulated_run &run, const std::vector<course_sample> &samples) {
  std::vector<gps_point> points(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const exact_row row = exact_row_of(run, samples[i]);
    points[i].time = 1747389600000 + std::llround(1000.0 * static_cast<double>(i) / run.rate);
    points[i].pos_wgs84 = {row.latitude, row.longitude, row.height};
    points[i].vel_ltp = {row.north, row.east, row.down};
    points[i].numsv = 15;
  }
  return points;
}

double rounded(double value, double digits) { return std::round(value * digits) / digits; }

// A Gauss-Markov process of variance 1.
class forgetful_error {
 public:
  explicit forgetful_error(random_source &source) : value_(source.normal()) {}
  double next(random_source &source, double kept) {
    const double now = value_;
    value_ = kept * value_ + std::sqrt(1.0 - kept * kept) * source.normal();
    return now;
  }

 private:
  double value_;
};

double common_scale(random_source &source, int degrees) {
  return degrees == 0 ? 1.0 : std::sqrt((degrees - 2.0) / source.chi_square(degrees));
}

// As a logger writes it: digits and all.
std::vector<gps_point> measured_points(const simulated_run &run, const std::vector<gps_point> &exact,
                                       const noise_kind &kind, random_source &source) {
  std::vector<gps_point> points = exact;
  const double sacc = between(source, 0.2, 0.5);
  const double hacc = between(source, 0.5, 2.0);
  const double vacc = std::fmax(1.0, 1.5 * hacc);
  const double scale = common_scale(source, kind.degrees);
  const double position_sigmas[3] = {scale * hacc / std::sqrt(2.0), scale * hacc / std::sqrt(2.0), scale * vacc};
  const double velocity_sigma = scale * sacc / std::sqrt(3.0);
  const double velocity_kept = std::exp(-1.0 / run.rate / kind.memory);
  const double position_kept = std::exp(-1.0 / run.rate / 60.0);
  constexpr double wander = 0.3;
  double offsets[3];
  std::vector<forgetful_error> velocity_errors;
  std::vector<forgetful_error> position_errors;
  for (double &offset : offsets) {
    offset = source.normal();
    velocity_errors.emplace_back(source);
    position_errors.emplace_back(source);
  }
  const double metres_per_degree = 111200.0;
  const double shrink = std::cos(run.gate_latitude / 57.29577951308232);
  for (std::size_t i = 0; i < points.size(); ++i) {
    gps_point &point = points[i];
    double position[3];
    double velocity[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double wandered = wander * kind.wander * position_errors[axis].next(source, position_kept);
      position[axis] = position_sigmas[axis] * (offsets[axis] + wandered);
      velocity[axis] = velocity_sigma * velocity_errors[axis].next(source, velocity_kept);
    }
    vec3 seen = point.vel_ltp;
    if (kind.lag != 0.0) {
      const double place = std::fmax(0.0, static_cast<double>(i) - kind.lag * run.rate);
      const auto before = static_cast<std::size_t>(place);
      const double part = place - static_cast<double>(before);
      const vec3 &a = exact[before].vel_ltp;
      const vec3 &b = exact[std::min(before + 1, exact.size() - 1)].vel_ltp;
      seen = {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part, a.z + (b.z - a.z) * part};
    }
    point.pos_wgs84.x = rounded(point.pos_wgs84.x + position[0] / metres_per_degree, 1e7);
    point.pos_wgs84.y = rounded(point.pos_wgs84.y + position[1] / metres_per_degree / shrink, 1e7);
    point.pos_wgs84.z = rounded(point.pos_wgs84.z + position[2], 1e3);
    point.vel_ltp = {rounded(seen.x + velocity[0], 1e2), rounded(seen.y + velocity[1], 1e2),
                     rounded(seen.z + velocity[2], 1e2)};
    point.hacc = static_cast<float>(hacc);
    point.vacc = static_cast<float>(vacc);
    point.sacc = static_cast<float>(sacc * kind.stated);
  }
  return points;
}

course course_of(const simulated_run &run) {
  const std::string text = simulated_course(run);
  course found;
  course_link link;
  error_slot error = nullptr;
  std::FILE *const file = fmemopen(const_cast<char *>(text.data()), text.size(), "r");
  if (read_course(file, "matrix.txt", "run.csv", found, link, &error) != course_answer::here) std::abort();
  std::fclose(file);
  return found;
}

bool analyse(swoop &run, run_kind kind, const course &flown) {
  error_slot error = nullptr;
  const bool is_implicit = kind == run_kind::without_course;
  analyze_swoop(run, is_implicit ? gate_type_implicit : gate_type_course, flown.matrix, 0.0, &error);
  return error == nullptr;
}

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
      "rough=%.2f "
      "failed=%.4f other_hand=%.4f other_degrees=%.4f whole=%d seconds=%.3f verdict=%d "
      "names=%s\n",
      number, kind_names[static_cast<int>(kind)], rate, static_cast<int>(check.reason), check.noise.ratio,
      check.noise.velocity, check.noise.wander[0], check.noise.wander[1], check.noise.memory.velocity,
      check.lag.horizontal, check.lag.vertical, check.roughness, check.failed, check.other_hand, check.other_degrees,
      check.is_whole_track, seconds, static_cast<int>(verdict.worst), names_of(verdict).c_str());
  for (std::size_t i = 0; i < figure_count; ++i) {
    const figure_check &each = check.figures[i];
    std::printf("%zu %.9g %.9g %d %.9g %.9g %.4f\n", i, truth[i], each.value, each.has_interval, each.range.low,
                each.range.high, each.missing);
  }
}

// False when the noise or the flight leaves nothing to check.
bool check_one(int number, random_source &source, const settings &given) {
  const auto kind = static_cast<run_kind>(number % 4);
  const double rate = std::vector<double>{5.0, 10.0, 20.0}[static_cast<std::size_t>(number / 4 % 3)];
  const simulated_run run = random_run(source, kind, rate);
  std::vector<course_sample> samples = flown_samples(run);
  add_fluctuations(samples, run, source);
  const std::vector<gps_point> exact = exact_points(run, samples);
  const course flown = course_of(run);
  swoop truth = run_of(exact);
  if (!analyse(truth, kind, flown)) return false;
  if (kind == run_kind::carve && truth.exit_gate_time == 0) return false;
  swoop measured = run_of(measured_points(run, exact, given.noise, source));
  if (!analyse(measured, kind, flown)) return false;
  run_check check;
  error_slot error = nullptr;
  const std::clock_t start = std::clock();
  check_run(measured, given.check, check, &error);
  if (error) std::abort();
  print_check(number, kind, rate, values_of(truth), check, judge_run(measured, check),
              static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  return true;
}

noise_kind noise_named(const char *name) {
  for (const noise_kind &kind : noise_kinds) {
    if (std::strcmp(kind.name, name) == 0) return kind;
  }
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
    if (option == "--runs") given.runs = std::atoi(value);
    if (option == "--seed") given.seed = std::strtoull(value, nullptr, 10);
    if (option == "--draws") given.check.draws = static_cast<std::uint32_t>(std::atoi(value));
    if (option == "--noise") given.noise = noise_named(value);
  }
  return given;
}

}  // namespace
}  // namespace tarvel

int main(int argc, char *argv[]) {
  const tarvel::settings given = tarvel::parse(argc, argv);
  for (int number = 0; number < given.runs; ++number) {
    tarvel::random_source source(given.seed * 1000000 + static_cast<std::uint64_t>(number) * 16);
    for (int attempt = 0; attempt < 20 && !tarvel::check_one(number, source, given); ++attempt) {
    }
  }
  return 0;
}
