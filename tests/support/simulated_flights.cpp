#include "support/simulated_flights.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "formats/course_file.h"
#include "geo/course_frame.h"
#include "support/hand_made_run.h"
#include "swoop/analysis.h"

namespace tarvel {

namespace {

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

// The part of the fluctuations at a time: they decrease to 0 in the last two seconds before the stop.
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

void keep_every(int nth, std::vector<course_sample> &samples) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < samples.size(); i += static_cast<std::size_t>(nth)) samples[kept++] = samples[i];
  samples.resize(kept);
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

// Beyond the gate's half width a little noise decides whether there is a carve.
bool is_in_exit_gate(const swoop &run) {
  const carve_gate gate = carve_gate_points(carve_angle_degrees, carve_radius, carve_gate_width);
  return run.exit_gate_time != 0 &&
         std::fabs(run.exit_gate_xpos - gate.centre.x) <= std::fabs(gate.outer.x - gate.centre.x);
}

}  // namespace

const noise_kind *noise_named(const char *name) {
  for (const noise_kind &kind : noise_kinds) {
    if (std::strcmp(kind.name, name) == 0) return &kind;
  }
  return nullptr;
}

double between(random_source &source, double low, double high) { return low + (high - low) * source.uniform(); }

simulated_flight random_flight(random_source &source, run_kind kind, double rate) {
  simulated_flight flight;
  flight.kind = kind;
  // A flight is integrated in parts of the time between samples, which must be short.
  constexpr double lowest_rate = 5.0;
  const int every = std::max(static_cast<int>(std::ceil(lowest_rate / rate)), 1);
  flight.run = random_run(source, kind, every * rate);
  std::vector<course_sample> samples = flown_samples(flight.run);
  add_fluctuations(samples, flight.run, source);
  keep_every(every, samples);
  flight.run.rate = rate;
  flight.exact = exact_points(flight.run, samples);
  flight.flown = course_of(flight.run);
  return flight;
}

std::vector<gps_point> measured_points(const simulated_flight &flight, const noise_kind &kind, random_source &source) {
  const simulated_run &run = flight.run;
  const std::vector<gps_point> &exact = flight.exact;
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

bool analyse(swoop &run, const simulated_flight &flight) {
  error_slot error = nullptr;
  const bool is_implicit = flight.kind == run_kind::without_course;
  analyze_swoop(run, is_implicit ? gate_type_implicit : gate_type_course, flight.flown.matrix, 0.0, &error);
  return error == nullptr;
}

bool find_truth(const simulated_flight &flight, swoop &truth) {
  truth = run_of(flight.exact);
  if (!analyse(truth, flight)) return false;
  return flight.kind != run_kind::carve || is_in_exit_gate(truth);
}

bool take_setting(run_settings &given, const std::string &option, const char *value) {
  if (option == "--first") {
    given.first = std::atoi(value);
  } else if (option == "--runs") {
    given.runs = std::atoi(value);
  } else if (option == "--seed") {
    given.seed = std::strtoull(value, nullptr, 10);
  } else if (option == "--rate") {
    given.rate = std::atof(value);
  } else if (option == "--draws") {
    given.check.draws = static_cast<std::uint32_t>(std::atoi(value));
  } else {
    return false;
  }
  return true;
}

}  // namespace tarvel
