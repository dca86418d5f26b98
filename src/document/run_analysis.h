// The work that a document tells of: a track's stream is read and its run analysed.
#pragma once

#include <cstdio>
#include <optional>

#include "document/check_json.h"
#include "document/run_document.h"
#include "support/memory.h"
#include "support/text_buffer.h"
#include "swoop/swoop.h"
#include "track/course.h"

namespace tarvel {

// What the facts of a document point to. It stays where it is as long as they do.
struct analysed_run {
  text_buffer warnings;
  owned_record<swoop> run;
  std::optional<course> flown;  // null without a course; its pond turns with the run's frame
  std::optional<checked_run> checked;
};

// Reads the seekable stream of a track; facts.track_name is that of the run. Gives the facts warnings and run. Fails with
// "malloc() failed" (the warnings) or a message of swoop_create, in facts.failure.
void read_run(std::FILE *track, analysed_run &work, run_facts &facts);

// Analyses it over the course in the work, or without one. Gives the facts course and pond. Fails with a message of
// analyze_swoop, in facts.failure.
void analyse_run(analysed_run &work, run_facts &facts);

// Finds how far its figures can be trusted, as facts.asked_check says. Gives the facts checked. Fails with a message of
// check_run, in facts.failure.
void check_analysed_run(analysed_run &work, run_facts &facts);

}  // namespace tarvel
