// One run as one JSON document: tarvel-json(5).
#pragma once

#include <cstdint>
#include <optional>

#include "document/checked_run.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"
#include "swoop/swoop.h"
#include "track/course.h"

namespace tarvel {

constexpr const char *run_format_name = "tarvel-run";
constexpr int run_format_version = 1;

// The stage of the work at which a run failed.
enum class run_stage { track, course, analysis, check, document };

struct run_failure {
  run_stage stage = run_stage::track;
  error_slot message = nullptr;  // null for a run that succeeded
};

// The content of a document. What is not known of a failed run is null.
struct run_facts {
  const char *program = nullptr;  // its name
  const char *version = nullptr;
  bool implicit_gate = false;
  bool metric = false;

  const char *track_name = nullptr;
  const char *track_sha256 = nullptr;  // null when its bytes were not read
  const char *warnings = nullptr;      // of the readers, one a line
  const swoop *run = nullptr;          // null when the track was not read
  std::uint32_t time_aloft = 0;        // ms

  const char *course_name = nullptr;  // the file in which it was found; null without a course file
  const char *course_sha256 = nullptr;
  const tarvel::course *course = nullptr;  // as the file has it; null for a run without a course
  const pond_outline *pond = nullptr;      // in the frame in force; null without a pond

  const check_settings *asked_check = nullptr;  // null when the run is not to be checked
  const checked_run *checked = nullptr;         // null when it was not

  run_failure failure;
};

// The whole document, with a line for each member. Null on failure, with "failed to allocate memory for charts",
// "failed to allocate memory for document" or a message of check_as_json. When the JSON library runs out of memory, it
// throws std::bad_alloc, or aborts in a program that is built without exceptions.
[[nodiscard]] owned_text format_run_document(const run_facts &facts, error_slot *error);

}  // namespace tarvel
