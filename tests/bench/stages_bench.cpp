// Time per sample of each stage of the analysis, over a whole run of 20,000 samples.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "driver/file_handle.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "simulated_files.h"
#include "support/warnings.h"
#include "swoop/analysis.h"
#include "swoop/gates.h"
#include "swoop/implicit_gate.h"
#include "swoop/kinematics.h"
#include "swoop/max_speeds.h"
#include "swoop/plane_exit.h"
#include "swoop/report.h"
#include "swoop/rollout.h"
#include "swoop/speed_carve.h"
#include "swoop/stop.h"
#include "swoop/touchdown.h"
#include "swoop/turn.h"
#include "track/track_frames.h"

namespace tarvel {
namespace {

constexpr std::size_t sample_count = 20'000;

// Analysed once: the results of all stages are in the record, and each stage can be measured alone.
swoop &analysed_run() {
  static const owned_record<swoop> run = [] {
    const track_folder folder(sample_count);
    error_slot error = nullptr;
    warning_buffer warnings;
    owned_record<swoop> created = swoop_create(open_input("track.csv", &error).get(), "track.csv", warnings, &error);
    if (error) std::abort();
    course loaded;
    course_link link;
    const file_handle course_file = open_input("matrix.txt", &error);
    if (!course_file) std::abort();
    if (read_course(course_file.get(), "matrix.txt", "track.csv", loaded, link, &error) != course_answer::here ||
        error) {
      std::abort();
    }
    analyze_swoop(*created, gate_type_course, loaded.matrix, 0.0, &error);
    if (error) std::abort();
    return created;
  }();
  return *run;
}

template <typename stage>
void measure(benchmark::State &state, stage act) {
  swoop &run = analysed_run();
  error_slot error = nullptr;
  for (auto round : state) {
    act(run, &error);
    benchmark::ClobberMemory();
  }
  if (error) state.SkipWithError(error);
  state.counters["per_sample"] =
      benchmark::Counter(sample_count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void ecef(swoop &run, error_slot *) { derive_ecef({run.track.get(), run.track_len}); }
void local(swoop &run, error_slot *) { derive_local({run.track.get(), run.track_len}, run.matrix); }
void acceleration(swoop &run, error_slot *) { derive_acceleration(run); }
void dive_angle(swoop &run, error_slot *) { derive_dive_angle(run); }
void heading(swoop &run, error_slot *) { derive_heading(run); }
void turn_angle(swoop &run, error_slot *) { derive_turn_angle(run); }
void turn_rate(swoop &run, error_slot *) { derive_turn_rate(run); }
void touchdown(swoop &run, error_slot *error) { estimate_touchdown(run, 0, error); }
void pipeline(swoop &run, error_slot *error) { run_swoop_pipeline(run, error); }

void implicit_gate(swoop &run, error_slot *error) {
  vec3 gate;
  vec3 landing;
  find_implicit_gate(run, gate, landing, error);
}

void report(swoop &run, error_slot *error) { benchmark::DoNotOptimize(format_swoop_report(run, false, error)); }

void map(swoop &run, error_slot *) {
  const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_kml(nowhere.get(), run.track[0].time, samples_of(run), nullptr);
}

BENCHMARK_CAPTURE(measure, derive_ecef, ecef);
BENCHMARK_CAPTURE(measure, derive_local, local);
BENCHMARK_CAPTURE(measure, derive_acceleration, acceleration);
BENCHMARK_CAPTURE(measure, derive_dive_angle, dive_angle);
BENCHMARK_CAPTURE(measure, derive_heading, heading);
BENCHMARK_CAPTURE(measure, derive_turn_angle, turn_angle);
BENCHMARK_CAPTURE(measure, derive_turn_rate, turn_rate);
BENCHMARK_CAPTURE(measure, check_gate_location, check_gate_location);
BENCHMARK_CAPTURE(measure, detect_plane_exit, detect_plane_exit);
BENCHMARK_CAPTURE(measure, detect_pattern_entry, detect_pattern_entry);
BENCHMARK_CAPTURE(measure, detect_top_of_turn, detect_top_of_turn);
BENCHMARK_CAPTURE(measure, detect_stop, detect_stop);
BENCHMARK_CAPTURE(measure, detect_rollout, detect_rollout);
BENCHMARK_CAPTURE(measure, detect_bottom_of_turn, detect_bottom_of_turn);
BENCHMARK_CAPTURE(measure, detect_entry_gate, detect_entry_gate);
BENCHMARK_CAPTURE(measure, detect_speed_carve, detect_speed_carve);
BENCHMARK_CAPTURE(measure, detect_max_speeds, detect_max_speeds);
BENCHMARK_CAPTURE(measure, sum_turn_degrees, sum_turn_degrees);
BENCHMARK_CAPTURE(measure, estimate_touchdown, touchdown);
BENCHMARK_CAPTURE(measure, find_implicit_gate, implicit_gate);
BENCHMARK_CAPTURE(measure, whole_pipeline, pipeline);
BENCHMARK_CAPTURE(measure, format_swoop_report, report);
BENCHMARK_CAPTURE(measure, write_kml, map);

}  // namespace
}  // namespace tarvel
