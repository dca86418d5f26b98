// tarvel-json: one run as one JSON document.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

#include "document/run_document.h"
#include "driver/course_input.h"
#include "driver/exit.h"
#include "driver/process_setup.h"
#include "geo/course_frame.h"
#include "json/input_bytes.h"
#include "json/json_options.h"
#include "support/version.h"
#include "swoop/analysis.h"

namespace {

using namespace tarvel;

// A run from its bytes to what is known of it. The facts point into the rest.
struct json_run {
  input_bytes bytes;
  digest_text digest;
  text_buffer warnings;
  owned_record<swoop> run;
  std::optional<course> flown;
  course_link course_file;
  digest_text course_digest;
  owned_text version_number;
  run_facts facts;
};

void read_track(json_run &work, const json_options &options, error_slot *error) {
  work.facts.failure.stage = run_stage::track;
  load_time_zone(error);
  if (*error) return;
  read_input(options.track, work.bytes, error);
  if (*error) return;
  work.digest = sha256_of(bytes_of(work.bytes));
  work.facts.track_sha256 = work.digest.text;

  work.warnings = text_buffer_create(error);
  if (*error) return;
  const file_handle stream = open_bytes_stream(work.bytes);
  if (!stream) {
    *error = "malloc() failed";
    return;
  }
  // The slot belongs to the reader from here on; a warning that there was no memory for says so in its own.
  error_slot warning_error = nullptr;
  work.warnings.error = &warning_error;
  work.run = swoop_create(stream.get(), options.track, work.warnings, error);
  work.facts.warnings = work.warnings.data.get();
  if (*error == nullptr) *error = warning_error;
  if (*error) return;
  work.run->time_aloft = options.time_aloft;
  work.facts.run = work.run.get();
}

void find_course(json_run &work, const json_options &options, error_slot *error) {
  if (options.implicit_gate) return;
  work.facts.failure.stage = run_stage::course;
  read_course_file(course_file_name, options.track, work.flown, work.course_file, error);
  work.facts.course_name = work.course_file.path;
  if (*error) return;
  input_bytes bytes;
  read_input(work.course_file.path, bytes, error);
  if (*error) return;
  work.course_digest = sha256_of(bytes_of(bytes));
  work.facts.course_sha256 = work.course_digest.text;
  if (work.flown) work.facts.course = &*work.flown;
}

void analyze(json_run &work, error_slot *error) {
  work.facts.failure.stage = run_stage::analysis;
  if (!work.flown) return analyze_swoop(*work.run, gate_type_implicit, mat4(), 0.0, error);
  analyze_swoop(*work.run, gate_type_course, work.flown->matrix, work.flown->theta, error);
  if (*error || !work.flown->pond) return;
  rotate_point_list(points_of(*work.flown->pond), correction_angle(*work.run));
  work.facts.pond = &*work.flown->pond;
}

// "2.23" of "version 2.23 (August 2, 2026)".
owned_text copy_version_number() {
  owned_text number = try_duplicate(version + std::strlen("version "));
  if (number) number[std::strcspn(number.get(), " ")] = '\0';
  return number;
}

void set_facts(json_run &work, const json_options &options) {
  work.version_number = copy_version_number();
  work.facts.program = "tarvel-json";
  work.facts.version = work.version_number ? work.version_number.get() : "";
  work.facts.implicit_gate = options.implicit_gate;
  work.facts.metric = options.metric;
  work.facts.time_aloft = options.time_aloft;
  work.facts.track_name = options.track;
}

// The JSON library throws when there is no memory.
owned_text try_document(const run_facts &facts, error_slot *error) {
  try {
    return format_run_document(facts, error);
  } catch (const std::bad_alloc &) {
    *error = "failed to allocate memory for document";
    return nullptr;
  }
}

// What there is no memory for is left out of the document, which then says so.
owned_text make_document(json_run &work) {
  error_slot error = nullptr;
  owned_text document = try_document(work.facts, &error);
  if (document) return document;
  work.facts.failure = {run_stage::document, error};
  work.facts.run = nullptr;
  work.run.reset();  // gives its memory back
  return try_document(work.facts, &error);
}

}  // namespace

int main(int argc, char *argv[]) {
  error_slot error = nullptr;
  open_standard_streams(&error);
  ignore_write_signals();
  const json_options options = parse_json_options(argc, argv);

  json_run work;
  set_facts(work, options);
  if (!error) read_track(work, options, &error);
  if (!error) find_course(work, options, &error);
  if (!error) analyze(work, &error);
  work.facts.failure.message = error;

  const owned_text document = make_document(work);
  if (document) std::fputs(document.get(), stdout);
  if (work.facts.failure.message) std::fprintf(stderr, "tarvel-json: %s\n", work.facts.failure.message);
  exit_program(work.facts.failure.message ? EXIT_FAILURE : EXIT_SUCCESS);
}
