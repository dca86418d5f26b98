// Time per sample of a course survey, over walks of an hour at 25 samples a second.
#include <benchmark/benchmark.h>

#include <string_view>

#include "gate/pond.h"
#include "gate/survey.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

constexpr double hour = 3600.0;  // seconds

hand_made_walk quick_logger() {
  hand_made_walk walk;
  walk.rate = 25.0;
  return walk;
}

// A walk of an hour over five marks, with eleven minutes at each.
gate standing_walk() {
  hand_made_walk walk = quick_logger();
  walk_course(walk, walk_marks(), hour / 5.0 - 35.0);
  return gate_of(walk.samples);
}

gate walk_without_standstill() {
  hand_made_walk walk = quick_logger();
  walk_to(walk, {hour * walk.speed, 0.0, 0.0});
  return gate_of(walk.samples);
}

// Alternates between two spots 2 m apart: each sample moves the anchor of the search for a standstill.
gate restless_walk() {
  hand_made_walk walk = quick_logger();
  while (walk.time < static_cast<std::int64_t>(1000.0 * hour)) {
    jump_to(walk, {walk.at.x == 0.0 ? 2.0 : 0.0, 0.0, 0.0});
    add_sample(walk);
  }
  return gate_of(walk.samples);
}

void measure(benchmark::State &state, gate walked, std::string_view expected) {
  error_slot error = nullptr;
  for (auto round : state) {
    survey_gate(walked, nullptr, &error);
    if (error == nullptr) survey_pond(walked, &error);
    benchmark::ClobberMemory();
  }
  if (std::string_view(error == nullptr ? "" : error) != expected) state.SkipWithError("another answer than expected");
  state.counters["per_sample"] =
      benchmark::Counter(walked.track_len, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void survey_standing(benchmark::State &state) { measure(state, standing_walk(), ""); }
void survey_walking(benchmark::State &state) { measure(state, walk_without_standstill(), "could not detect waypoint"); }
void survey_restless(benchmark::State &state) { measure(state, restless_walk(), "could not detect waypoint"); }

BENCHMARK(survey_standing)->Unit(benchmark::kMillisecond);
BENCHMARK(survey_walking)->Unit(benchmark::kMillisecond);
BENCHMARK(survey_restless)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvel
