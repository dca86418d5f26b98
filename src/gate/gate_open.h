// Reads a gate file and surveys the course.
#pragma once

#include <cstdio>

#include "gate/gate.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"

namespace tarvel {

// Returns a new record with that name. When the stream holds a walk, the course and its pond are surveyed; a container
// already holds the course, and nothing is logged. The survey's progress text is stored in log_text unless it is empty,
// also after a failure; log_text may be null. Null on failure, with "failed to allocate memory for gate", "strdup()
// failed" or a message of the loader or the survey.
[[nodiscard]] owned_record<gate> gate_open(std::FILE *stream, const char *name, text_buffer &warnings,
                                           owned_text *log_text, error_slot *error);

}  // namespace tarvel
