#include "support/files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
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
  // A stream in memory cannot be empty; a temporary file can.
  if (bytes.empty()) return file_handle(std::tmpfile());
  return file_handle(fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb"));
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
