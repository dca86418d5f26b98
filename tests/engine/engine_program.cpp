// A program over the engine that does what tarvel does except the drawing of charts. Built for other machines, it must
// print and write what tarvel prints and writes on this one. It lacks the driver's checks, such as that no output
// replaces an input. With -k it does what tarvel-check does with that number of draws.
//
//   engine_program [-dimp] [-k draws] [-t time] [-g gate] [swoop]
//
// With -s it writes to document.json what tarvel-json prints. -s and -c are the digests of the track and of the course
// file:
//
//   engine_program -s digest [-c digest] [-im] [-t time] swoop
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "chart/run_charts.h"
#include "check/reasons.h"
#include "check/run_check.h"
#include "container/tvl_file.h"
#include "document/run_analysis.h"
#include "document/run_document.h"
#include "driver/file_handle.h"
#include "formats/coord_dump.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "gate/gate_open.h"
#include "geo/course_frame.h"
#include "support/integer.h"
#include "support/version.h"
#include "swoop/analysis.h"
#include "swoop/report.h"
#include "swoop/trimmed_range.h"
#include "verdict/check_report.h"

namespace tarvel {
namespace {

struct settings {
  bool debug = false;
  bool implicit_gate = false;
  bool metric = false;
  bool pond = false;
  std::uint32_t time_aloft = 0;
  std::uint32_t check_draws = 0;
  const char *gate = nullptr;
  const char *swoop = nullptr;
  const char *track_sha256 = nullptr;
  const char *course_sha256 = nullptr;
};

settings parse_settings(int argc, char *argv[]) {
  settings given;
  for (int option = 0; (option = getopt(argc, argv, "dik:mpt:g:s:c:")) != -1;) {
    switch (option) {
      case 'k': given.check_draws = truncate_to_uint32(std::strtod(optarg, nullptr)); break;
      case 'd': given.debug = true; break;
      case 'i': given.implicit_gate = true; break;
      case 'm': given.metric = true; break;
      case 'p': given.pond = true; break;
      case 't': given.time_aloft = truncate_to_uint32(std::strtod(optarg, nullptr) * 1000.0); break;
      case 'g': given.gate = optarg; break;
      case 's': given.track_sha256 = optarg; break;
      case 'c': given.course_sha256 = optarg; break;
      default: std::exit(2);
    }
  }
  if (optind < argc) given.swoop = argv[optind];
  return given;
}

void stop_at(error_slot error) {
  if (error == nullptr) return;
  std::printf("ERROR: %s\n", error);
  std::exit(1);
}

file_handle open_file(const char *path, const char *mode) {
  file_handle file(std::fopen(path, mode));
  if (!file) stop_at(format_error("failed to open file: %s", path));
  return file;
}

std::string with_extension(const char *path, const char *extension) {
  const std::string name = path;
  return name.substr(0, name.size() - 3) + extension;
}

template <typename writer>
void write_file(const std::string &path, writer write) {
  const file_handle file = open_file(path.c_str(), "wb");
  write(file.get());
}

// Reads a track and prints the warnings, then the error, as tarvel does.
template <typename reader>
auto read_file(const char *path, reader read) {
  const file_handle file = open_file(path, "rb");
  error_slot error = nullptr;
  text_buffer warnings = text_buffer_create(&error);
  stop_at(error);
  auto result = read(file.get(), warnings, &error);
  std::fputs(warnings.data.get(), stdout);
  stop_at(error);
  return result;
}

void survey(const settings &given) {
  owned_text log;
  const owned_record<gate> surveyed =
      read_file(given.gate, [&](std::FILE *file, text_buffer &warnings, error_slot *error) {
        return gate_open(file, given.gate, warnings, &log, error);
      });
  if (log) std::fputs(log.get(), stdout);
  if (given.debug) {
    write_file(with_extension(given.gate, "tvl"), [&](std::FILE *file) {
      error_slot error = nullptr;
      write_gate_stream(file, surveyed->course, &error);
      stop_at(error);
    });
  }
  if (!given.pond) surveyed->course.pond.reset();
  for (const std::string &path : {with_extension(given.gate, "txt"), std::string("matrix.txt")}) {
    write_file(path, [&](std::FILE *file) { write_course(file, surveyed->course); });
  }
  if (surveyed->track_len == 0) return;
  const gate_ends ends = entry_gate_ends(surveyed->course.matrix);
  write_file(with_extension(given.gate, "kml"),
             [&](std::FILE *file) { write_kml(file, surveyed->track[0].time, samples_of(*surveyed), &ends); });
}

// Fills the path with that of the file in which the course was found.
std::optional<course> find_course(const char *swoop_file, std::string &path) {
  course found;
  course_link link;
  path = "matrix.txt";
  for (;;) {
    const file_handle file = open_file(path.c_str(), "rb");
    error_slot error = nullptr;
    const course_answer answer = read_course(file.get(), path.c_str(), swoop_file, found, link, &error);
    stop_at(error);
    if (answer == course_answer::no_gate) return std::nullopt;
    if (answer == course_answer::here) return found;
    path = link.path;
  }
}

// Prints one line for each curve: the charts are built, although not drawn.
void print_charts(std::FILE *file, const swoop &run, const std::optional<course> &flown, bool metric) {
  const chart_context context = {run, flown && flown->pond ? &*flown->pond : nullptr, metric, false};
  for (const auto build :
       {build_gps_accuracy_chart, build_dive_angle_chart, build_dive_speed_chart, build_heading_chart,
        build_turn_rate_chart, build_overhead_chart, build_side_view_chart, build_swoop_speed_chart}) {
    const owned_record<chart> built = build(context);
    if (!built) stop_at("failed to allocate memory for charts");
    for (const series *curve = built->first_series.get(); curve != nullptr; curve = curve->next.get()) {
      std::fprintf(file, "%s: %u points\n", built->title.get(), static_cast<unsigned>(curve->count));
    }
  }
}

void write_track_map(const swoop &run, const std::string &path) {
  const std::int64_t start = run.track_len == 0 ? 0 : run.track[0].time;
  write_file(path, [&](std::FILE *file) { write_kml(file, start, samples_of(run), nullptr); });
}

void write_run_map(const swoop &run, const std::string &path) {
  const gate_ends ends = entry_gate_ends(run.matrix);
  const std::span<const gps_point> flown = samples_of(run).subspan(run.top_of_turn, run.stop - run.top_of_turn);
  write_file(path, [&](std::FILE *file) { write_kml(file, run.track[run.top_of_turn].time, flown, &ends); });
}

owned_record<swoop> read_run(const settings &given) {
  owned_record<swoop> run = read_file(given.swoop, [&](std::FILE *file, text_buffer &warnings, error_slot *error) {
    return swoop_create(file, given.swoop, warnings, error);
  });
  run->debug = given.debug;
  run->time_aloft = given.time_aloft;
  return run;
}

void analyse_over(swoop &run, const std::optional<course> &flown, error_slot *error) {
  analyze_swoop(run, flown ? gate_type_course : gate_type_implicit, flown ? flown->matrix : mat4(),
                flown ? flown->theta : 0.0, error);
}

void check(const settings &given) {
  const owned_record<swoop> run = read_run(given);
  error_slot error = nullptr;
  std::string course_file;
  analyse_over(*run, given.implicit_gate ? std::nullopt : find_course(given.swoop, course_file), &error);
  stop_at(error);
  run_check found;
  check_run(*run, {.draws = given.check_draws}, found, &error);
  stop_at(error);
  const owned_text report = format_check_report(*run, found, judge_run(*run, found), given.metric, &error);
  stop_at(error);
  std::fputs(report.get(), stdout);
}

void analyse(const settings &given) {
  const owned_record<swoop> run = read_run(given);
  const std::string map = with_extension(given.swoop, "kml");
  write_track_map(*run, map);

  std::string course_file;
  const std::optional<course> flown = given.implicit_gate ? std::nullopt : find_course(given.swoop, course_file);
  error_slot error = nullptr;
  analyse_over(*run, flown, &error);
  if (run->debug && run->is_derived) {
    write_file("coord.txt", [&](std::FILE *file) { write_coord_dump(file, samples_of(*run)); });
  }
  stop_at(error);
  if (run->debug) {
    write_file(with_extension(given.swoop, "tvl"),
               [&](std::FILE *file) { write_swoop_stream(file, samples_of(*run, trimmed_range(*run)), &error); });
    stop_at(error);
  }
  const owned_text report = format_swoop_report(*run, given.metric, &error);
  stop_at(error);
  std::printf("\n%s", report.get());
  write_file(with_extension(given.swoop, "txt"), [&](std::FILE *file) { std::fputs(report.get(), file); });
  write_run_map(*run, map);
  write_file("charts.txt", [&](std::FILE *file) { print_charts(file, *run, flown, given.metric); });
}

// With the name and the version of tarvel-json: the documents should be equal.
void write_document(const settings &given) {
  const std::string version_number = std::string(version).substr(8, std::string(version).find(' ', 8) - 8);
  run_facts facts;
  facts.program = "tarvel-json";
  facts.version = version_number.c_str();
  facts.implicit_gate = given.implicit_gate;
  facts.metric = given.metric;
  facts.time_aloft = given.time_aloft;
  facts.track_name = given.swoop;
  facts.track_sha256 = given.track_sha256;

  analysed_run work;
  std::string course_file;
  const file_handle track = open_file(given.swoop, "rb");
  read_run(track.get(), work, facts);
  if (facts.failure.message == nullptr && !given.implicit_gate) {
    work.flown = find_course(given.swoop, course_file);
    facts.course_name = course_file.c_str();
    facts.course_sha256 = given.course_sha256;
  }
  if (facts.failure.message == nullptr) analyse_run(work, facts);

  error_slot error = nullptr;
  const owned_text document = format_run_document(facts, &error);
  stop_at(error);
  write_file("document.json", [&](std::FILE *file) { std::fputs(document.get(), file); });
  if (facts.failure.message != nullptr) std::exit(1);
}

}  // namespace
}  // namespace tarvel

int main(int argc, char *argv[]) {
  const tarvel::settings given = tarvel::parse_settings(argc, argv);
  if (given.track_sha256 != nullptr) {
    tarvel::write_document(given);
    return 0;
  }
  if (given.gate != nullptr) tarvel::survey(given);
  if (given.swoop != nullptr && given.check_draws != 0) {
    tarvel::check(given);
  } else if (given.swoop != nullptr) {
    tarvel::analyse(given);
  }
  return 0;
}
