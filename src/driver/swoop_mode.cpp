#include <cstdio>

#include "drawing/pages.h"
#include "driver/exit.h"
#include "driver/file_handle.h"
#include "driver/modes.h"
#include "driver/output_names.h"
#include "driver/standard_streams.h"
#include "driver/track_files.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "geo/angle.h"
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

course load_course(const run_config &config, error_slot *error) {
  course loaded;
  if (!config.implicit_gate) read_course_file(course_file_name, config.swoop_file.get(), loaded, error);
  return loaded;
}

void analyze_over_course(swoop &run, const course &loaded) {
  const double theta = radians_from_degrees(loaded.theta);
  error_slot error = nullptr;
  if (loaded.matrix) {
    analyze_swoop(run, gate_type_course, *loaded.matrix, theta, &error);
  } else {
    analyze_swoop(run, gate_type_implicit, mat4(), theta, &error);
  }
  fatal_error(error);
}

// The report goes to the screen first, so that a pilot sees it even where the folder cannot be written to; and at once,
// since the drawing libraries end the process themselves when they have no memory.
void publish_report(const swoop &run, const run_config &config, const char *path) {
  error_slot error = nullptr;
  const owned_text report = format_swoop_report(run, config.metric != 0, &error);
  fatal_error(error);
  std::printf("\n%s", report.get());
  std::fflush(stdout);

  // Pilots print into run.txt: by now it holds the report and can be written as if nobody had. A survey's lines in it
  // would be lost, so that it is then refused like any other output that is printed into.
  if (!config.gate_file) redirect_stdout_from(path);
  file_handle file = open_output(path, &error);
  fatal_error(error);
  std::fputs(report.get(), file.get());
  close_output(std::move(file), path, &error);
  fatal_error(error);
}

// The stop itself is left out: there the pilot may walk off already.
std::span<const gps_point> turn_to_stop(const swoop &run) {
  return samples_of(run).subspan(run.top_of_turn, run.stop - run.top_of_turn);
}

void write_run_kml(const swoop &run, const char *path) {
  const gate_ends ends = entry_gate_ends(run.matrix);
  error_slot error = nullptr;
  write_kml(path, run.track[run.top_of_turn].time, turn_to_stop(run), &ends, &error);
  fatal_error(error);
}

// The pond turns with the run's frame, so that both are drawn in one.
void rotate_pond(course &loaded, const swoop &run) { rotate_point_list(loaded.pond.get(), correction_angle(run)); }

void write_charts(const swoop &run, const course &loaded, bool metric, const char *path) {
  error_slot error = nullptr;
  write_swoop_pdf(path, run, loaded.pond.get(), metric, false, &error);
  fatal_error(error);
}

}  // namespace

void run_swoop_mode(const run_config &config) {
  const swoop_outputs outputs = name_outputs(config.swoop_file.get());
  error_slot error = nullptr;
  const owned_record<swoop> run = swoop_create(config.swoop_file.get(), &error);
  fatal_error(error);
  run->debug = config.debug != 0;
  run->time_aloft = config.time_aloft;

  // Read before the map is written, since an index may lead to a course of the map's name. What is wrong with the
  // course is said after the map, unless nobody knows where it leads; nothing else is formatted until then.
  error_slot course_error = nullptr;
  course loaded = load_course(config, &course_error);
  if (loaded.is_unread) fatal_error(course_error);

  // Written before the analysis and again after it, so that a run that fails still has a map.
  const std::int64_t start_time = run->track_len == 0 ? 0 : run->track[0].time;
  write_kml(outputs.kml.get(), start_time, samples_of(*run), nullptr, &error);
  fatal_error(error);

  fatal_error(course_error);
  analyze_over_course(*run, loaded);
  if (run->debug) write_trimmed_swoop(outputs.tvl.get(), *run);
  rotate_pond(loaded, *run);
  publish_report(*run, config, outputs.txt.get());
  write_run_kml(*run, outputs.kml.get());
  write_charts(*run, loaded, config.metric != 0, outputs.pdf.get());
}

}  // namespace tarvel
