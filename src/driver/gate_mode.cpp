#include <cstdio>

#include "driver/course_output.h"
#include "driver/exit.h"
#include "driver/modes.h"
#include "driver/output_names.h"
#include "driver/track_files.h"
#include "geo/course_frame.h"

namespace tarvel {

namespace {

struct gate_outputs {
  owned_text kml;
  owned_text txt;
  owned_text tvl;
};

gate_outputs name_gate_outputs(const char *gate_file) {
  return {change_extension(gate_file, "kml"), change_extension(gate_file, "txt"), change_extension(gate_file, "tvl")};
}

owned_record<gate> survey_course(const char *gate_file) {
  error_slot error = nullptr;
  owned_text log;
  owned_record<gate> surveyed = gate_open(gate_file, &log, &error);
  fatal_error(error);
  if (log) std::printf("%s", log.get());
  return surveyed;
}

void write_gate_copy(const course &surveyed, const char *path) {
  error_slot error = nullptr;
  export_gate_file(path, surveyed, &error);
  fatal_error(error);
}

void write_course_files(const course &surveyed, const char *path) {
  error_slot error = nullptr;
  write_course_file(path, surveyed, &error);
  fatal_error(error);
}

// A container has a course but no walk.
void write_walk_kml(const gate &surveyed, const char *path) {
  if (surveyed.track_len == 0) return;
  const gate_ends ends = entry_gate_ends(surveyed.course.matrix);
  error_slot error = nullptr;
  write_kml(path, surveyed.track[0].time, samples_of(surveyed), &ends, &error);
  fatal_error(error);
}

}  // namespace

void run_gate_mode(const run_config &config) {
  const gate_outputs outputs = name_gate_outputs(config.gate_file.get());
  const owned_record<gate> surveyed = survey_course(config.gate_file.get());
  if (config.debug) write_gate_copy(surveyed->course, outputs.tvl.get());
  if (!config.pond) surveyed->course.pond.reset();
  write_course_files(surveyed->course, outputs.txt.get());
  write_walk_kml(*surveyed, outputs.kml.get());
}

}  // namespace tarvel
