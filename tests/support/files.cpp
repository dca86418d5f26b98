#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tarvel {

namespace fs = std::filesystem;

temp_dir::temp_dir() : previous_(fs::current_path()) {
  std::string name = (fs::temp_directory_path() / "tarvel_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) std::abort();
  path_ = name;
  fs::current_path(path_);
}

temp_dir::~temp_dir() {
  std::error_code ignored;
  fs::current_path(previous_, ignored);
  fs::remove_all(path_, ignored);
}

std::string read_text(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path << " is not there";
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_text(const std::string &path, std::string_view text) {
  std::ofstream file(path, std::ios::binary);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  ASSERT_TRUE(file.good()) << path << " cannot be written";
}

bool file_exists(const std::string &path) { return fs::exists(fs::symlink_status(path)); }

file_handle open_bytes(std::string_view bytes) {
  // fmemopen refuses an empty buffer; a temporary file may be empty.
  if (bytes.empty()) return file_handle(std::tmpfile());
  return file_handle(fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb"));
}

namespace {

struct failing_bytes {
  std::string_view bytes;
  std::size_t failing_position;
  std::size_t position = 0;
};

ssize_t read_failing(void *cookie, char *target, std::size_t size) {
  auto &file = *static_cast<failing_bytes *>(cookie);
  if (file.position >= file.failing_position) {
    errno = EIO;
    return -1;
  }
  const std::size_t count = std::min(size, file.failing_position - file.position);
  std::memcpy(target, file.bytes.data() + file.position, count);
  file.position += count;
  return static_cast<ssize_t>(count);
}

int seek_failing(void *cookie, off64_t *offset, int whence) {
  auto &file = *static_cast<failing_bytes *>(cookie);
  const std::size_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.bytes.size();
  const off64_t position = static_cast<off64_t>(base) + *offset;
  if (position < 0) return -1;
  *offset = position;
  file.position = static_cast<std::size_t>(position);
  return 0;
}

int close_failing(void *cookie) {
  delete static_cast<failing_bytes *>(cookie);
  return 0;
}

}  // namespace

file_handle open_failing_bytes(std::string_view bytes, std::size_t position) {
  return file_handle(
      fopencookie(new failing_bytes{bytes, position}, "rb", {read_failing, nullptr, seek_failing, close_failing}));
}

memory_output::~memory_output() {
  std::fclose(stream_);
  std::free(bytes_);
}

std::string memory_output::bytes() const {
  std::fflush(stream_);
  return {bytes_, size_};
}

void begin_capture() { testing::internal::CaptureStdout(); }

std::string end_capture() {
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string source_dir() {
  const char *const folder = std::getenv("TARVEL_SOURCE_DIR");
  return folder != nullptr ? folder : ".";
}

}  // namespace tarvel
