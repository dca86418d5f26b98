// Damages simulated runs whose truth is known and checks them: one line a run, for scripts/check_degraded.
//
//   check_degraded_runs [--runs N] [--seed S] [--rate R] [--draws D]
//
// Each line has the run's number, how it was damaged, the verdict (-1 when the analysis fails), the names of the
// reasons, and each figure whose interval misses the truth by so much that it is off by more than three half-widths.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "check/reasons.h"
#include "check/run_check.h"
#include "support/hand_made_run.h"
#include "support/simulated_flights.h"

namespace tarvel {
namespace {

// A flight as it was measured, which the damage changes.
struct measured_run {
  const simulated_flight &flight;
  const swoop &truth;
  noise_kind noise;
  std::vector<gps_point> points;
};

std::size_t index_between(random_source &source, std::size_t first, std::size_t end) {
  return first + static_cast<std::size_t>(source.uniform() * static_cast<double>(end - first));
}

std::size_t samples_of_seconds(const measured_run &run, double seconds) {
  return static_cast<std::size_t>(std::lround(seconds * run.flight.run.rate));
}

// Somewhere from 5 s before the turn to the stop.
std::size_t some_sample_of_run(const measured_run &run, random_source &source) {
  const std::size_t before = samples_of_seconds(run, 5.0);
  return index_between(source, run.truth.top_of_turn - before, run.truth.stop);
}

void leave_gap(measured_run &run, random_source &source) {
  const std::size_t first = some_sample_of_run(run, source);
  const std::size_t end = std::min(first + samples_of_seconds(run, between(source, 0.3, 4.0)), run.points.size());
  run.points.erase(run.points.begin() + static_cast<std::ptrdiff_t>(first),
                   run.points.begin() + static_cast<std::ptrdiff_t>(end));
}

void scale_statement(measured_run &run, float factor) {
  for (gps_point &point : run.points) {
    point.sacc *= factor;
    point.hacc *= factor;
    point.vacc *= factor;
  }
}

void scale_accuracy(measured_run &run, random_source &source) {
  scale_statement(run, static_cast<float>(std::exp(between(source, 0.0, 3.0))));
}

// The logger states smaller errors than it has.
void falsify_accuracy(measured_run &run, random_source &source) {
  scale_statement(run, static_cast<float>(std::exp(-between(source, 0.0, 3.0))));
}

// Positions are shifted for some seconds and come back; in a part of the runs the velocities follow.
void splice_multipath(measured_run &run, random_source &source) {
  const std::size_t first = some_sample_of_run(run, source);
  const std::size_t count = samples_of_seconds(run, between(source, 0.6, 6.0));
  const double reach = std::exp(between(source, 0.0, 3.5));  // m
  const double direction = between(source, 0.0, 6.283185307179586);
  const double up = between(source, -1.0, 1.0);
  const double followed = source.uniform() < 0.5 ? 0.0 : source.uniform();
  const double seconds = static_cast<double>(count) / run.flight.run.rate;
  const double shrink = std::cos(run.flight.run.gate_latitude / 57.29577951308232);
  for (std::size_t k = 0; k < count && first + k < run.points.size(); ++k) {
    const double phase = 6.283185307179586 * static_cast<double>(k) / static_cast<double>(count);
    const double pulled = reach * (1.0 - std::cos(phase)) / 2.0;
    const double speed = followed * reach * std::sin(phase) * 3.141592653589793 / seconds;
    gps_point &point = run.points[first + k];
    point.pos_wgs84.x += pulled * std::cos(direction) / 111200.0;
    point.pos_wgs84.y += pulled * std::sin(direction) / 111200.0 / shrink;
    point.pos_wgs84.z += up * pulled;
    point.vel_ltp.x += speed * std::cos(direction);
    point.vel_ltp.y += speed * std::sin(direction);
    point.vel_ltp.z -= up * speed;
  }
}

// Replaces the horizontal and the vertical velocities by those of up to 0.4 s before.
void delay_velocities(measured_run &run, random_source &source) {
  const double lags[2] = {between(source, 0.0, 0.4), between(source, 0.0, 0.4)};
  const std::vector<gps_point> punctual = run.points;
  for (std::size_t i = 0; i < run.points.size(); ++i) {
    const auto earlier = [&](double lag, double vec3::*axis) {
      const double place = std::max(0.0, static_cast<double>(i) - lag * run.flight.run.rate);
      const auto before = static_cast<std::size_t>(place);
      const double a = punctual[before].vel_ltp.*axis;
      const double b = punctual[std::min(before + 1, punctual.size() - 1)].vel_ltp.*axis;
      return a + (b - a) * (place - static_cast<double>(before));
    };
    run.points[i].vel_ltp = {earlier(lags[0], &vec3::x), earlier(lags[0], &vec3::y), earlier(lags[1], &vec3::z)};
  }
}

// Samples of a pilot who stands there, with the errors of a logger at rest.
std::vector<gps_point> standing(const gps_point &from, double seconds, double step, random_source &source) {
  std::vector<gps_point> points;
  double wander[2] = {0.0, 0.0};
  for (double t = step; t < seconds; t += step) {
    gps_point point = from;
    point.time += std::llround(1000.0 * t);
    for (double &each : wander) each += 0.05 * std::sqrt(step) * source.normal();
    point.pos_wgs84.x += wander[0] / 111200.0;
    point.pos_wgs84.y += wander[1] / 111200.0;
    point.vel_ltp = {0.05 * source.normal(), 0.05 * source.normal(), 0.05 * source.normal()};
    points.push_back(point);
  }
  return points;
}

void add_ground_time(measured_run &run, random_source &source) {
  const double step = 1.0 / run.flight.run.rate;
  const std::vector<gps_point> behind = standing(run.points.back(), between(source, 10.0, 900.0), step, source);
  run.points.insert(run.points.end(), behind.begin(), behind.end());
}

// The same flight with other errors behind it or before it, at the other end of some time on the ground.
void add_another_run(measured_run &run, random_source &source) {
  std::vector<gps_point> other = measured_points(run.flight, run.noise, source);
  if (source.uniform() < 0.5) std::swap(other, run.points);
  const std::int64_t later = run.points.back().time - run.points.front().time + 1200000;
  for (gps_point &point : other) point.time += later;
  run.points.insert(run.points.end(), other.begin(), other.end());
}

void cut_begin(measured_run &run, random_source &source) {
  const std::size_t cut = index_between(source, run.truth.pattern_entry / 2, run.truth.rollout);
  run.points.erase(run.points.begin(), run.points.begin() + static_cast<std::ptrdiff_t>(cut));
}

void cut_end(measured_run &run, random_source &source) {
  run.points.resize(index_between(source, run.truth.rollout, run.points.size()));
}

struct damage {
  const char *name;
  void (*apply)(measured_run &run, random_source &source);
};

const damage damages[] = {
    {"gap", leave_gap},
    {"scaled-accuracy", scale_accuracy},
    {"false-accuracy", falsify_accuracy},
    {"multipath", splice_multipath},
    {"lag", delay_velocities},
    {"two-runs", add_another_run},
    {"ground-time", add_ground_time},
    {"cut-begin", cut_begin},
    {"cut-end", cut_end},
};

// Each figure whose value is farther from the truth than three halves of its interval.
std::string figures_off(const run_check &check, const figure_values &truth) {
  std::string text;
  for (std::size_t i = 0; i < figure_count; ++i) {
    const figure_check &each = check.figures[i];
    if (!each.has_interval || std::isnan(truth[i])) continue;
    const double half = (each.range.high - each.range.low) / 2.0;
    if (std::fabs(each.value - truth[i]) <= 3.0 * half) continue;
    char words[100];
    std::snprintf(words, sizeof words, " %zu:%.4g/%.4g/%.4g..%.4g", i, truth[i], each.value, each.range.low,
                  each.range.high);
    text += words;
  }
  return text;
}

std::string names_of(const run_verdict &verdict) {
  std::string names = "reasons=";
  for (const reason &each : reasons_of(verdict)) names += std::string(rule_of(each.code).name) + ",";
  return names;
}

// False when the flight leaves nothing to check.
bool check_one(int number, random_source &source, const run_settings &given) {
  constexpr double rates[] = {5.0, 10.0, 20.0};
  const auto kind = static_cast<run_kind>(source.uniform() * 4.0);
  const double rate = rates[static_cast<int>(source.uniform() * 3.0)];
  const simulated_flight flight = random_flight(source, kind, given.rate > 0.0 ? given.rate : rate);
  swoop truth;
  if (!find_truth(flight, truth)) return false;
  const damage &done = damages[static_cast<std::size_t>(number) % std::size(damages)];
  measured_run run = {flight, truth, *noise_named("gaussian"), {}};
  run.points = measured_points(flight, run.noise, source);
  done.apply(run, source);

  swoop measured = run_of(run.points);
  if (run.points.empty() || !analyse(measured, flight)) {
    std::printf("%d %s -1 reasons=\n", number, done.name);
    return true;
  }
  run_check check;
  error_slot error = nullptr;
  check_run(measured, given.check, check, &error);
  if (error) std::abort();
  const run_verdict verdict = judge_run(measured, check);
  std::printf("%d %s %d %s peak=%.2f%s\n", number, done.name, static_cast<int>(verdict.worst),
              names_of(verdict).c_str(), check.peak, figures_off(check, values_of(truth)).c_str());
  return true;
}

}  // namespace
}  // namespace tarvel

int main(int argc, char *argv[]) {
  using namespace tarvel;
  run_settings given;
  for (int i = 1; i + 1 < argc; i += 2) take_setting(given, argv[i], argv[i + 1]);
  check_runs(given, [&](int number, random_source &source) { return check_one(number, source, given); });
  return 0;
}
