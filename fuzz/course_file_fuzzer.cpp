// The course file and its indices. The input is matrix.txt and, behind a line of four equals signs, other.txt, which an
// index may lead to, as it may to itself or to matrix.txt.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

#include "formats/course_file.h"
#include "fuzz_input.h"

namespace {

using namespace tarvel;

// A folder of its own, in memory where that is to be had, removed at the end.
class fuzz_folder {
 public:
  fuzz_folder() {
    std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm/tarvel_fuzz_XXXXXX" : "tarvel_fuzz_XXXXXX";
    require(mkdtemp(name.data()) != nullptr);
    path_ = std::filesystem::absolute(name);
  }
  ~fuzz_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  fuzz_folder(const fuzz_folder &) = delete;
  fuzz_folder &operator=(const fuzz_folder &) = delete;

  [[nodiscard]] const std::filesystem::path &path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The working directory during one input; the fuzzer's own names are relative to the one before.
class visit {
 public:
  explicit visit(const fuzz_folder &folder) : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder.path());
  }
  ~visit() {
    std::error_code ignored;
    std::filesystem::current_path(previous_, ignored);
  }
  visit(const visit &) = delete;
  visit &operator=(const visit &) = delete;

 private:
  std::filesystem::path previous_;
};

void write(const char *name, std::string_view text) {
  const file_handle file(std::fopen(name, "wb"));
  require(file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const fuzz_folder folder;
  const visit inside(folder);
  constexpr std::string_view separator = "====\n";
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  const std::size_t first = std::min(text.find(separator), text.size());
  write(course_file_name, text.substr(0, first));
  write("other.txt", first == text.size() ? "" : text.substr(first + separator.size()));

  course result;
  error_slot error = nullptr;
  read_course_file(course_file_name, "2024-run.csv", result, &error);
  require(error == nullptr || (*error != '\0' && result.matrix == nullptr && result.pond == nullptr));
  require(result.pond == nullptr || result.matrix != nullptr);
  return 0;
}
