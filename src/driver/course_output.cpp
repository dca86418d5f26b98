#include "driver/course_output.h"

#include <sys/stat.h>

#include <cstdio>
#include <utility>

#include "driver/file_handle.h"
#include "driver/file_identity.h"
#include "formats/course_file.h"
#include "support/memory.h"

namespace tarvel {

namespace {

bool is_list_end(const vec3 &point) { return point.x == 0.0 && point.y == 0.0 && point.z == 0.0; }

// A course that was cut short, where a disk is full or the program killed, may be taken for a whole one. So the text
// goes to the disk in one piece, unless there is no memory for that, and what could not be written whole is emptied.
owned_text buffer_whole(std::FILE *file, std::size_t size) {
  owned_text buffer;
  if (try_resize(buffer, size)) std::setvbuf(file, buffer.get(), _IOFBF, size);
  return buffer;
}

void close_course(file_handle file, const char *path, error_slot *error) {
  close_output(std::move(file), path, error);
  if (*error) empty_output(path);
}

// The usual text; values of many digits take more, which only costs a second piece.
std::size_t course_text_size(const vec3 *pond) {
  constexpr std::size_t most_without_pond = 2048;
  constexpr std::size_t most_for_a_point = sizeof "  (123456.7, 123456.7),\n";
  std::size_t points = 0;
  while (pond != nullptr && !is_list_end(pond[points])) ++points;
  return most_without_pond + most_for_a_point * points;
}

std::size_t size_of(std::FILE *file) {
  struct stat status;
  if (fstat(fileno(file), &status) != 0) return 0;
  return static_cast<std::size_t>(status.st_size);
}

void copy_bytes(std::FILE *from, std::FILE *to, const char *destination, const char *source, error_slot *error) {
  for (int byte = std::getc(from); byte != EOF; byte = std::getc(from)) {
    if (std::putc(byte, to) == EOF) {
      *error = format_error("failure during write to %s", destination);
      return;
    }
  }
  if (std::ferror(from) != 0) *error = format_error("failed to read file: %s", source);
}

}  // namespace

void write_course_file(const char *path, const mat4 &matrix, const vec3 *pond, double theta, error_slot *error) {
  *error = nullptr;
  file_handle file = open_output(path, error);
  if (!file) return;

  const owned_text buffer = buffer_whole(file.get(), course_text_size(pond));
  write_course_text(file.get(), matrix, pond, theta);
  close_course(std::move(file), path, error);
  if (*error) return;

  // Copying a file onto itself would empty it.
  if (!is_same_file(path, course_file_name, error) && *error == nullptr) copy_file(course_file_name, path, error);
}

void copy_file(const char *destination, const char *source, error_slot *error) {
  *error = nullptr;
  const file_handle from = open_written_file(source);
  if (!from) {
    *error = format_error("could not open %s for reading", source);
    return;
  }
  file_handle to = open_output(destination, error);
  if (!to) {
    *error = format_error("could not open %s for writing", destination);
    return;
  }
  const owned_text buffer = buffer_whole(to.get(), size_of(from.get()) + 1);
  copy_bytes(from.get(), to.get(), destination, source, error);
  close_course(std::move(to), destination, error);
}

}  // namespace tarvel
