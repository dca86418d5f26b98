// tarvel-check: prints an interval for each figure of a run, the reasons to doubt it, and a verdict.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "check/reasons.h"
#include "check/run_check.h"
#include "checker/options.h"
#include "driver/course_input.h"
#include "driver/exit.h"
#include "driver/file_handle.h"
#include "driver/process_setup.h"
#include "driver/protected_inputs.h"
#include "swoop/analysis.h"
#include "verdict/check_report.h"

namespace {

using namespace tarvel;

constexpr int doubtful_status = 2;
constexpr int unusable_status = 3;

// A call may have several runs, so that each line has the name of its run.
void print_warnings(const char *path, std::string_view warnings) {
  while (!warnings.empty()) {
    const std::size_t length = std::min(warnings.find('\n'), warnings.size() - 1) + 1;
    std::fprintf(stderr, "%s: %s: %.*s", check_program, path, static_cast<int>(length), warnings.data());
    warnings.remove_prefix(length);
  }
}

owned_record<swoop> load_run(const char *path, error_slot *error) {
  const tarvel::file_handle stream = open_input(path, error);
  if (!stream) return nullptr;
  error_slot warning_error = nullptr;
  text_buffer warnings = text_buffer_create(&warning_error);
  if (warning_error) {
    *error = warning_error;
    return nullptr;
  }
  owned_record<swoop> run = swoop_create(stream.get(), path, warnings, error);
  print_warnings(path, warnings.data.get());
  if (*error == nullptr) *error = warning_error;
  report_read_error(stream.get(), path, error);
  return run;
}

void analyze(swoop &run, const char *track, const check_options &options, error_slot *error) {
  std::optional<course> flown;
  if (!options.implicit_gate) read_course_file(course_file_name, track, flown, error);
  if (*error) return;
  run.time_aloft = options.time_aloft;
  if (flown) {
    analyze_swoop(run, gate_type_course, flown->matrix, flown->theta, error);
  } else {
    analyze_swoop(run, gate_type_implicit, mat4(), 0.0, error);
  }
}

// The worst reason to doubt a run; severity::note after an error.
severity check_track(const char *path, const check_options &options, error_slot *error) {
  const owned_record<swoop> run = load_run(path, error);
  if (*error) return severity::note;
  analyze(*run, path, options, error);
  if (*error) return severity::note;
  run_check check;
  check_run(*run, options.settings, check, error);
  if (*error) return severity::note;
  const run_verdict verdict = judge_run(*run, check);
  const owned_text report = format_check_report(*run, check, verdict, options.metric, error);
  if (*error) return severity::note;
  std::fputs(report.get(), stdout);
  return verdict.worst;
}

int status_of(severity worst) {
  switch (worst) {
    case severity::note: return EXIT_SUCCESS;
    case severity::doubtful: return doubtful_status;
    case severity::unusable: return unusable_status;
  }
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char *argv[]) {
  error_slot error = nullptr;
  open_standard_streams(&error);
  fail_program(check_program, error);
  ignore_write_signals();
  check_options options;
  parse_check_options(argc, argv, options);
  load_time_zone(&error);
  fail_program(check_program, error);

  severity worst = severity::note;
  bool has_failed = false;
  for (char *const path : options.tracks) {
    if (path != options.tracks.front()) std::putchar('\n');
    error = nullptr;
    worst = std::max(worst, check_track(path, options, &error));
    // The report of a run must come before the messages of the next one, also when both streams go to one file.
    std::fflush(stdout);
    if (error == nullptr) continue;
    std::fprintf(stderr, "%s: %s: %s\n", check_program, path, error);
    has_failed = true;
  }
  exit_program(has_failed ? EXIT_FAILURE : status_of(worst), check_program);
}
