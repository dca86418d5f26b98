// The course file and the index. The input is one file, or two that are separated by a line of four equals signs.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "formats/course_file.h"
#include "fuzz_input.h"

namespace {

using namespace tarvel;

void read(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return;
  const file_handle stream = open_fuzz_input(data, size);
  course result;
  result.theta = 77.0;
  course_link link;
  error_slot error = nullptr;
  const course_answer answer = read_course(stream.get(), "matrix.txt", "2024-run.csv", result, link, &error);
  require(error == nullptr || (*error != '\0' && answer == course_answer::here));
  require(std::memchr(link.path, '\0', sizeof link.path) != nullptr);
  if (error != nullptr || answer != course_answer::here) {
    require(result.theta == 77.0 && !result.pond && result.matrix == mat4());
    return;
  }
  // A point has at least four characters.
  require(!result.pond || result.pond->count <= size / 4);
  const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_course(nowhere.get(), result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  constexpr std::string_view separator = "====\n";
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  const std::size_t first = std::min(text.find(separator), size);
  const std::size_t second = std::min(first + separator.size(), size);
  read(data, first);
  read(data + second, size - second);
  return 0;
}
