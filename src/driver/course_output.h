// Writes the course file of a survey and its copy for swoop mode.
#pragma once

#include "support/error_slot.h"
#include "track/course.h"

namespace tarvel {

// Writes a course file and its copy for swoop mode, matrix.txt, unless they are the same file; each as a whole_output.
// Fails with "failed to open file: %s", "failed to write file: %s" or a message of copy_file.
void write_course_file(const char *path, const course &surveyed, error_slot *error);

// Copies a file into a whole_output. FIFOs and devices are refused as the source. Fails with "could not open %s for
// reading", "could not open %s for writing", "failure during write to %s", "failed to read file: %s" or "failed to
// write file: %s".
void copy_file(const char *destination, const char *source, error_slot *error);

}  // namespace tarvel
