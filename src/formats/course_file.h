// The course file: how a gate survey reaches later runs.
#pragma once

#include <cstdio>

#include "support/error_slot.h"
#include "track/course.h"

namespace tarvel {

// Writes a course, theta in degrees and only when it is not 0. The caller checks the stream for errors.
void write_course(std::FILE *stream, const course &surveyed);

// Another course file, as an index names it.
struct course_link {
  char path[100] = {};
};

// Where a course file has the course of a run.
enum class course_answer { here, no_gate, elsewhere };

// Reads a course file of that name for the run of that file name, as typed. An index in it may send the run, by the
// beginning of its name, on to another file, whose name is then in the link, or declare that it has no gate. The result
// is filled only with `here` and no error. Fails with "failed to realloc pond array", "failed to parse %s" or "invalid
// line in %s"; the caller checks the stream for errors.
[[nodiscard]] course_answer read_course(std::FILE *stream, const char *name, const char *swoop_file, course &result,
                                        course_link &link, error_slot *error);

}  // namespace tarvel
