// Reads, analyses and checks the run of a document.
#pragma once

#include <cstdio>
#include <optional>

#include "document/checked_run.h"
#include "document/run_document.h"
#include "support/memory.h"
#include "support/text_buffer.h"
#include "swoop/swoop.h"
#include "track/course.h"

namespace tarvel {

// Owns what the facts of a document point to. It must not move while they are used.
struct analysed_run {
  text_buffer warnings;
  owned_record<swoop> run;
  std::optional<course> flown;  // null without a course; its pond is rotated with the run's frame
  std::optional<checked_run> checked;
};

// These store the message of a failure in facts.failure.

// Reads the seekable stream of the track facts.track_name. Sets facts.warnings and facts.run. Fails with "malloc()
// failed" (the warnings) or a message of swoop_create.
void read_run(std::FILE *track, analysed_run &work, run_facts &facts);

// Analyses the run over the course work.flown, or without a course. Sets facts.course and facts.pond. Fails with a
// message of analyze_swoop.
void analyse_run(analysed_run &work, run_facts &facts);

// Checks the analysed run with the settings facts.asked_check. Sets facts.checked. Fails with a message of check_run.
void check_analysed_run(analysed_run &work, run_facts &facts);

}  // namespace tarvel
