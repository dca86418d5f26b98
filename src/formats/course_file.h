// The course file: a survey writes it, and the analysis of a run reads it.
#pragma once

#include <cstdio>

#include "support/error_slot.h"
#include "track/course.h"

namespace tarvel {

// Writes a course. theta is written in degrees, and only when it is not 0. The caller checks the stream for errors.
void write_course(std::FILE *stream, const course &surveyed);

// The name of another course file in an index.
struct course_link {
  char path[100] = {};
};

// Where the course of a run is: in this file, nowhere (the run has no gate), or in another file.
enum class course_answer { here, no_gate, elsewhere };

// Reads the course of the run whose file name, as typed, is swoop_file. An index entry for a beginning of that name may
// refer to another course file, whose name is then stored in the link, or state that the run has no gate. The result is
// filled only with `here` and no error. name is for messages. Fails with "failed to realloc pond array", "failed to
// parse %s" or "invalid line in %s"; the caller checks the stream for errors.
[[nodiscard]] course_answer read_course(std::FILE *stream, const char *name, const char *swoop_file, course &result,
                                        course_link &link, error_slot *error);

}  // namespace tarvel
