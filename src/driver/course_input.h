// Reads the course of a run from course files.
#pragma once

#include <optional>

#include "formats/course_file.h"
#include "support/error_slot.h"
#include "track/course.h"

namespace tarvel {

// The course file of swoop mode, in the working directory.
constexpr const char *course_file_name = "matrix.txt";

// Reads the course of a run from a course file, or from the file that its index refers to, through at most 64 further
// files. No course when an index states that the run has no gate. Fails with "failed to open file: %s", "failed to read
// file: %s" or a message of read_course.
void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, error_slot *error);

// The same; also gives the name of the file that had the course, or that failed. The name of the first file is cut to
// 99 characters, the longest in an index.
void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, course_link &file,
                      error_slot *error);

}  // namespace tarvel
