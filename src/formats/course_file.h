// The course file: how a gate survey reaches later runs.
#pragma once

#include <cstdio>

#include "geo/mat4.h"
#include "geo/vec3.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Where swoop mode looks for its course, in the working directory.
constexpr const char *course_file_name = "matrix.txt";

struct course {
  owned_record<mat4> matrix;  // ECEF to local; null when an index says that the run has no gate
  owned_array<vec3> pond;     // pond perimeter in local metres, ended by (0, 0, 0); null when there is none
  double theta = 0.0;         // speed-carve rotation, degrees
  bool is_unread = false;     // a file of the chain is there but could not be read, so that nobody knows where it leads
};

// Writes a course. The pond may be null; it ends at the first point whose x, y and z are all 0. Theta in degrees.
void write_course_text(std::FILE *file, const mat4 &matrix, const vec3 *pond, double theta);

// Reads a course file. An index in it may send a run, by the beginning of its file name as typed, on to another
// course file, through at most 64 of them, or declare that it has no gate. Fails with "failed to open file: %s",
// "failed to malloc matrix", "strdup() failed", "failed to realloc pond array", "failed to parse %s", "invalid line
// in %s" or "failed to read file: %s"; the course is then empty.
void read_course_file(const char *path, const char *swoop_file, course &result, error_slot *error);

}  // namespace tarvel
