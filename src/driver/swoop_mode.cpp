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

swoop_outputs name_outputs(const char *swoop_file) {
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

// The report goes to the screen first, so that a pilot sees it even where the folder cannot be written to; and at once,
// since the drawing libraries end the process themselves when they have no memory.
void publish_report(const swoop &run, const run_config &config, const char *path, error_slot *error) {
  const owned_text report = format_swoop_report(run, config.metric != 0, error);
  if (*error) return;
  std::printf("\n%s", report.get());
  std::fflush(stdout);

  // Pilots print into run.txt: by now it holds the report and can be written as if nobody had. A survey's lines in it
  // would be lost, so that it is then refused like any other output that is printed into.
  file_handle file = config.gate_file ? open_output(path, error) : open_printed_output(path, error);
  if (!file) return;
  std::fputs(report.get(), file.get());
  close_output(std::move(file), path, error);
}

// What there is of a run that was analysed, apart from its map and charts.
void publish_run(const swoop &run, const run_config &config, const swoop_outputs &outputs, error_slot *error) {
  if (run.debug) write_trimmed_swoop(outputs.tvl.get(), run, error);
  if (*error) return;
  publish_report(run, config, outputs.txt.get(), error);
}

// The stop itself is left out: there the pilot may walk off already.
std::span<const gps_point> turn_to_stop(const swoop &run) { return samples_of(run, {run.top_of_turn, run.stop}); }

// A run that fails still has a map, of its whole track. The message of an output that has failed before stays. Emptied
// again, since a link may have led another output to the same file.
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

// Null without a pond. It turns with the run's frame, so that both are drawn in one.
const pond_outline *turned_pond(std::optional<course> &loaded, const swoop &run) {
  if (!loaded || !loaded->pond) return nullptr;
  rotate_point_list(points_of(*loaded->pond), correction_angle(run));
  return &*loaded->pond;
}

}  // namespace

void run_swoop_mode(const run_config &config) {
  const swoop_outputs outputs = name_outputs(config.swoop_file.get());
  error_slot error = nullptr;
  const owned_record<swoop> run = open_run(config, &error);
  fatal_error(error);

  // Before any output is opened, since an index may lead to a course that has an output's name. What is wrong with the
  // course is said once the map can be written.
  error_slot course_error = nullptr;
  std::optional<course> loaded = load_course(config, &course_error);
  // And the map before the analysis, so that a run whose map cannot be written fails before its work.
  file_handle map = open_output(outputs.kml.get(), &error);
  fatal_error(error);

  // What is wrong with the run is said once all outputs have been written: they may be cut short.
  error_slot run_error = course_error;
  if (run_error == nullptr) analyze_over_course(*run, loaded, &run_error);
  const bool is_sound = run_error == nullptr;
  // The dump shows what the analysis has worked with, also when that has failed.
  if (run->debug && run->is_derived) write_coord_dump(samples_of(*run), &error);
  if (is_sound && error == nullptr) publish_run(*run, config, outputs, &error);
  write_map(*run, is_sound, std::move(map), outputs.kml.get(), &error);
  fatal_error(error);
  fatal_error(run_error);

  write_swoop_pdf(outputs.pdf.get(), *run, turned_pond(loaded, *run), config.metric != 0, false, &error);
  fatal_error(error);
}

}  // namespace tarvel
