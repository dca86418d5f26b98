#include "driver/course_output.h"

#include <cstdio>
#include <utility>

#include "driver/course_input.h"
#include "driver/file_handle.h"
#include "driver/file_identity.h"
#include "driver/whole_output.h"
#include "formats/course_file.h"

namespace tarvel {

void write_course_file(const char *path, const course &surveyed, error_slot *error) {
  *error = nullptr;
  whole_output output = open_whole_output(path, error);
  if (*error) return;
  write_course(output.file.get(), surveyed);
  close_whole_output(std::move(output), path, error);
  if (*error) return;

  // Not when both are the same file: copying it onto itself would empty it.
  if (!is_same_file(path, course_file_name, error) && *error == nullptr) copy_file(course_file_name, path, error);
}

void copy_file(const char *destination, const char *source, error_slot *error) {
  *error = nullptr;
  const file_handle from = open_written_file(source);
  if (!from) {
    *error = format_error("could not open %s for reading", source);
    return;
  }
  whole_output to = open_whole_output(destination, error);
  if (*error) {
    *error = format_error("could not open %s for writing", destination);
    return;
  }
  copy_bytes(from.get(), to.file.get());
  if (std::ferror(to.file.get()) != 0) *error = format_error("failure during write to %s", destination);
  report_read_error(from.get(), source, error);
  close_whole_output(std::move(to), destination, error);
}

}  // namespace tarvel
