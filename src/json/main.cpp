// tarvel-json: one run as one JSON document.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "document/run_analysis.h"
#include "document/run_document.h"
#include "driver/course_input.h"
#include "driver/exit.h"
#include "driver/process_setup.h"
#include "json/input_stream.h"
#include "json/json_options.h"
#include "support/version.h"

namespace {

using namespace tarvel;

// A run with all that its facts point to.
struct json_run {
  digest_text digest;
  analysed_run work;
  course_link course_file;
  digest_text course_digest;
  owned_text version_number;
  run_facts facts;
};

// Points text to the digest of the whole input. Fails with "failed to read file: %s", and then leaves text as it was.
void take_digest(input_stream &input, const char *path, digest_text &digest, const char *&text, error_slot *error) {
  digest = finish_digest(input);
  if (std::ferror(input.stream.get()) == 0) {
    text = digest.text;
  } else {
    report_read_error(input.stream.get(), path, error);
  }
}

void read_track(json_run &run, const json_options &options, error_slot *error) {
  run.facts.failure.stage = run_stage::track;
  load_time_zone(error);
  if (*error) return;
  input_stream input;
  open_input_stream(options.track, input, error);
  if (*error) return;
  read_run(input.stream.get(), run.work, run.facts);
  *error = run.facts.failure.message;
  take_digest(input, options.track, run.digest, run.facts.track_sha256, error);
}

void find_course(json_run &run, const json_options &options, error_slot *error) {
  if (options.implicit_gate) return;
  run.facts.failure.stage = run_stage::course;
  read_course_file(course_file_name, options.track, run.work.flown, run.course_file, error);
  run.facts.course_name = run.course_file.path;
  if (*error) return;
  input_stream input;
  open_input_stream(run.course_file.path, input, error);
  if (*error) return;
  take_digest(input, run.course_file.path, run.course_digest, run.facts.course_sha256, error);
}

void analyse(json_run &run, error_slot *error) {
  analyse_run(run.work, run.facts);
  *error = run.facts.failure.message;
}

void check(json_run &run, error_slot *error) {
  if (run.facts.asked_check == nullptr) return;
  check_analysed_run(run.work, run.facts);
  *error = run.facts.failure.message;
}

// "2.23" of "version 2.23 (August 2, 2026)".
owned_text copy_version_number() {
  owned_text number = try_duplicate(version + std::strlen("version "));
  if (number) number[std::strcspn(number.get(), " ")] = '\0';
  return number;
}

void set_facts(json_run &run, const json_options &options) {
  run.version_number = copy_version_number();
  run.facts.program = json_program;
  run.facts.version = run.version_number ? run.version_number.get() : "";
  run.facts.implicit_gate = options.implicit_gate;
  run.facts.metric = options.metric;
  run.facts.time_aloft = options.time_aloft;
  run.facts.track_name = options.track;
  if (options.check) run.facts.asked_check = &*options.check;
}

// The JSON library throws when memory is short.
owned_text try_document(const run_facts &facts, error_slot *error) {
  try {
    return format_run_document(facts, error);
  } catch (const std::bad_alloc &) {
    *error = "failed to allocate memory for document";
    return nullptr;
  }
}

// Where memory is too short for the whole document, makes one of a failed run.
owned_text make_document(json_run &run) {
  error_slot error = nullptr;
  owned_text document = try_document(run.facts, &error);
  if (document) return document;
  run.facts.failure = {run_stage::document, error};
  run.facts.run = nullptr;
  run.work.run.reset();  // frees its memory
  return try_document(run.facts, &error);
}

}  // namespace

int main(int argc, char *argv[]) {
  error_slot error = nullptr;
  open_standard_streams(&error);
  ignore_write_signals();
  const json_options options = parse_json_options(argc, argv);

  json_run run;
  set_facts(run, options);
  if (!error) read_track(run, options, &error);
  if (!error) find_course(run, options, &error);
  if (!error) analyse(run, &error);
  if (!error) check(run, &error);
  run.facts.failure.message = error;

  const owned_text document = make_document(run);
  const error_slot failure = run.facts.failure.message;
  if (document) std::fputs(document.get(), stdout);
  if (failure) std::fprintf(stderr, "%s: %s\n", json_program, failure);
  exit_program(failure ? EXIT_FAILURE : EXIT_SUCCESS, json_program);
}
