#include <cstdio>
#include <optional>
#include <utility>

#include "driver/chart_files.h"
#include "driver/course_input.h"
#include "driver/exit.h"
#include "driver/file_handle.h"
#include "driver/modes.h"
#include "driver/output_names.h"
#include "driver/track_files.h"
#include "formats/kml.h"
#include "geo/course_frame.h"
#include "swoop/analysis.h"
#include "swoop/report.h"

namespace tarvel {

namespace {

struct swoop_outputs {
  owned_text kml;
  owned_text pdf;
  owned_text txt;
  owned_text tvl;
};

swoop_outputs name_swoop_outputs(const char *swoop_file) {
  return {change_extension(swoop_file, "kml"), change_extension(swoop_file, "pdf"), change_extension(swoop_file, "txt"),
          change_extension(swoop_file, "tvl")};
}

owned_record<swoop> open_run(const run_config &config, error_slot *error) {
  owned_record<swoop> run = swoop_create(config.swoop_file.get(), error);
  if (*error) return nullptr;
  run->debug = config.debug != 0;
  run->time_aloft = config.time_aloft;
  return run;
}

std::optional<course> load_course(const run_config &config, error_slot *error) {
  std::optional<course> loaded;
  if (!config.implicit_gate) read_course_file(course_file_name, config.swoop_file.get(), loaded, error);
  return loaded;
}

void analyze_over_course(swoop &run, const std::optional<course> &loaded, error_slot *error) {
  if (loaded) {
    analyze_swoop(run, gate_type_course, loaded->matrix, loaded->theta, error);
  } else {
    analyze_swoop(run, gate_type_implicit, mat4(), 0.0, error);
  }
}

// Prints the report before any file is written, so that it is seen even when the directory is not writable, and flushes
// it, since the drawing libraries may end the process when memory is short.
void write_report(const swoop &run, const run_config &config, const char *path, error_slot *error) {
  const owned_text report = format_swoop_report(run, config.metric != 0, error);
  if (*error) return;
  std::printf("\n%s", report.get());
  std::fflush(stdout);

  // Standard output may go to run.txt itself, which then already holds the report: the file is written again with the
  // same text. Not after a survey, whose lines would be lost: the file is then refused, like other outputs.
  file_handle file = config.gate_file ? open_output(path, error) : open_printed_output(path, error);
  if (!file) return;
  std::fputs(report.get(), file.get());
  close_output(std::move(file), path, error);
}

// Writes the outputs of a successful analysis, except for the map and the charts.
void write_run_outputs(const swoop &run, const run_config &config, const swoop_outputs &outputs, error_slot *error) {
  if (run.debug) write_trimmed_swoop(outputs.tvl.get(), run, error);
  if (*error) return;
  write_report(run, config, outputs.txt.get(), error);
}

// Without the stop itself, at which the pilot may walk already.
std::span<const gps_point> turn_to_stop(const swoop &run) { return samples_of(run, {run.top_of_turn, run.stop}); }

// Writes the map; after a failed analysis, one of the whole track. A message that is already in the slot is kept.
// Empties the file first, since another output may have been written to it through a link.
void write_map(const swoop &run, bool is_sound, file_handle map, const char *path, error_slot *error) {
  if (!empty_output(map.get())) {
    if (!*error) *error = format_error("failed to write file: %s", path);
    return;
  }
  if (!is_sound || *error) {
    const std::int64_t start_time = run.track_len == 0 ? 0 : run.track[0].time;
    write_kml(map.get(), start_time, samples_of(run), nullptr);
  } else {
    const gate_ends ends = entry_gate_ends(run.matrix);
    write_kml(map.get(), run.track[run.top_of_turn].time, turn_to_stop(run), &ends);
  }
  close_output(std::move(map), path, error);
}

// The pond, rotated like the run's frame; null without a pond.
const pond_outline *turned_pond(std::optional<course> &loaded, const swoop &run) {
  if (!loaded || !loaded->pond) return nullptr;
  rotate_point_list(points_of(*loaded->pond), correction_angle(run));
  return &*loaded->pond;
}

}  // namespace

void run_swoop_mode(const run_config &config) {
  const swoop_outputs outputs = name_swoop_outputs(config.swoop_file.get());
  error_slot error = nullptr;
  const owned_record<swoop> run = open_run(config, &error);
  fatal_error(error);

  // Before any output is opened, since a course file may have the name of an output. Its message is printed after the
  // map has been opened.
  error_slot course_error = nullptr;
  std::optional<course> loaded = load_course(config, &course_error);
  // Before the analysis, so that a map that cannot be written is reported without delay.
  file_handle map = open_output(outputs.kml.get(), &error);
  fatal_error(error);

  // Printed after all outputs have been written, and only when none of them has failed.
  error_slot run_error = course_error;
  if (run_error == nullptr) analyze_over_course(*run, loaded, &run_error);
  const bool is_sound = run_error == nullptr;
  // Also when the analysis has failed.
  if (run->debug && run->is_derived) write_coord_dump(samples_of(*run), &error);
  if (is_sound && error == nullptr) write_run_outputs(*run, config, outputs, &error);
  write_map(*run, is_sound, std::move(map), outputs.kml.get(), &error);
  fatal_error(error);
  fatal_error(run_error);

  write_swoop_pdf(outputs.pdf.get(), *run, turned_pond(loaded, *run), config.metric != 0, false, &error);
  fatal_error(error);
}

}  // namespace tarvel
