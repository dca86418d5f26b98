#include "driver/course_input.h"

#include <utility>

#include "driver/file_handle.h"
#include "driver/protected_inputs.h"

namespace tarvel {

namespace {

course_answer read_one_file(const char *path, const char *swoop_file, std::optional<course> &result, course_link &link,
                            error_slot *error) {
  const file_handle file = open_input(path, error);
  if (!file) {
    // Protects the file from the outputs although it could not be opened. A failure here has the same message.
    error_slot ignored = nullptr;
    protect_input(path, &ignored);
    return course_answer::here;
  }
  course found;
  const course_answer answer = read_course(file.get(), path, swoop_file, found, link, error);
  report_read_error(file.get(), path, error);
  if (answer == course_answer::here && *error == nullptr) result = std::move(found);
  return answer;
}

}  // namespace

void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, course_link &file,
                      error_slot *error) {
  result.reset();
  const auto read = [&](const char *name, course_link &link) {
    return read_one_file(name, swoop_file, result, link, error);
  };
  follow_course_files(path, file, read, error);
}

void read_course_file(const char *path, const char *swoop_file, std::optional<course> &result, error_slot *error) {
  course_link file;
  read_course_file(path, swoop_file, result, file, error);
}

}  // namespace tarvel
