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

// A limit, since the indexes of several files may refer to each other in a circle.
constexpr int max_further_course_files = 64;

// Reads the course file at path and, as long as an index refers to another file, that file: at most 64 after the first.
// read(path, link) reads one file as read_course does, and sets the slot when it fails. Sets file to the name of the
// last file that was read: the one that had the answer, or that failed. The first file's name is cut to 99 characters,
// the most that an index can contain. Fails with "failed to open file: %s" when the last of these files refers to yet
// another one, or with a message of read.
template <typename reader>
void follow_course_files(const char *path, course_link &file, reader read, error_slot *error) {
  *error = nullptr;
  std::snprintf(file.path, sizeof file.path, "%s", path);
  course_link link;
  course_answer answer = read(path, link);
  for (int i = 0; i < max_further_course_files && answer == course_answer::elsewhere && *error == nullptr; ++i) {
    file = link;
    answer = read(file.path, link);
  }
  if (answer == course_answer::elsewhere && *error == nullptr) {
    *error = format_error("failed to open file: %s", link.path);
  }
}

}  // namespace tarvel
