#include <cstdio>
#include <utility>

#include "driver/course_output.h"
#include "driver/exit.h"
#include "driver/modes.h"
#include "driver/output_names.h"
#include "driver/track_files.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "geo/angle.h"
#include "geo/course_frame.h"

namespace tarvel {

namespace {

struct gate_outputs {
  owned_text kml;
  owned_text txt;
  owned_text tvl;
};

gate_outputs name_outputs(const char *gate_file) {
  return {change_extension(gate_file, "kml"), change_extension(gate_file, "txt"), change_extension(gate_file, "tvl")};
}

owned_record<gate> survey_course(const char *gate_file) {
  error_slot error = nullptr;
  owned_text log;
  owned_record<gate> course = gate_open(gate_file, &log, &error);
  fatal_error(error);
  if (log) std::printf("%s", log.get());
  return course;
}

// The container's writer takes the record that its reader fills; the pond is lent to it.
void write_gate_copy(gate &course, const char *path) {
  gate_file_data data;
  data.matrix = course.matrix;
  data.theta = course.theta;
  data.pond = std::move(course.pond);
  error_slot error = nullptr;
  export_gate_file(path, data, &error);
  fatal_error(error);
  course.pond = std::move(data.pond);
}

void write_course(const gate &course, bool with_pond, const char *path) {
  error_slot error = nullptr;
  write_course_file(path, course.matrix, with_pond ? course.pond.get() : nullptr, degrees_from_radians(course.theta),
                    &error);
  fatal_error(error);
}

// A finished course from a container has no walk to draw.
void write_walk_kml(gate &course, const char *path) {
  if (course.track_len == 0) return;
  const gate_ends ends = entry_gate_ends(course.matrix);
  error_slot error = nullptr;
  write_kml(path, course.track[0].time, samples_of(course), &ends, &error);
  fatal_error(error);
}

}  // namespace

void run_gate_mode(const run_config &config) {
  const gate_outputs outputs = name_outputs(config.gate_file.get());
  const owned_record<gate> course = survey_course(config.gate_file.get());
  if (config.debug) write_gate_copy(*course, outputs.tvl.get());
  write_course(*course, config.pond != 0, outputs.txt.get());
  write_walk_kml(*course, outputs.kml.get());
}

}  // namespace tarvel
