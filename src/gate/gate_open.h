// From a gate file to a finished course.
#pragma once

#include <cstdio>

#include "gate/gate.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"

namespace tarvel {

// A new record of that name. When the stream holds a walk, the course and its pond are surveyed; a container's finished
// course is taken as it is, without a log. The survey's progress text goes to log_text when there is any, also after a
// failure; log_text may be null. Null on failure, with "failed to allocate memory for gate", "strdup() failed" or a
// message of the loader or the survey.
[[nodiscard]] owned_record<gate> gate_open(std::FILE *stream, const char *name, text_buffer &warnings,
                                           owned_text *log_text, error_slot *error);

}  // namespace tarvel
