// From a gate file to a finished course.
#pragma once

#include "gate/gate.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Loads the file and, when it holds a walk, surveys the course and its pond; a container's finished course is taken as
// it is, without a log. The survey's progress text goes to log_text when there is any, also after a failure; log_text
// may be null. Null on failure, with "gate filename not specified", "failed to allocate memory for gate", "strdup()
// failed" or a message of the loader or the survey.
[[nodiscard]] owned_record<gate> gate_open(const char *file, owned_text *log_text, error_slot *error);

}  // namespace tarvel
