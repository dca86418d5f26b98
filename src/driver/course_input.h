// The course that a run is flown over, found by the names of course files.
#pragma once

#include <optional>

#include "formats/course_file.h"
#include "support/error_slot.h"
#include "track/course.h"

namespace tarvel {

// Where swoop mode looks for its course, in the working directory.
constexpr const char *course_file_name = "matrix.txt";

// Finds the course of a run in a course file, or where an index leads from it, through at most 64 further files. None
// when an index says that the run has no gate. Fails with "failed to open file: %s", "failed to read file: %s" or a
// message of read_course.
void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, error_slot *error);

// The same, and the file in which it was found, or that failed. The name of the first file is cut to the 99 characters
// that an index may name.
void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, course_link &file,
                      error_slot *error);

}  // namespace tarvel
