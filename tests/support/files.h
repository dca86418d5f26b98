// Files for tests: temporary directories, whole texts, streams over bytes in memory.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "driver/file_handle.h"

namespace tarvel {

// A new empty directory that is the working directory until the end of the scope, which removes it.
class temp_dir {
 public:
  temp_dir();
  ~temp_dir();
  temp_dir(const temp_dir &) = delete;
  temp_dir &operator=(const temp_dir &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  std::string path_;
  std::string previous_;
};

// The content of a file; a test failure and an empty text when it does not exist.
[[nodiscard]] std::string read_text(const std::string &path);
void write_text(const std::string &path, std::string_view text);
[[nodiscard]] bool file_exists(const std::string &path);

// A read-only, seekable stream over the bytes, which must outlive it. There may be no bytes.
[[nodiscard]] file_handle open_bytes(std::string_view bytes);

// The same; reading the byte at the position, or a later one, fails as on a broken disk.
[[nodiscard]] file_handle open_failing_bytes(std::string_view bytes, std::size_t position);

// The bytes that the action writes to the stream that it is given.
template <typename action>
[[nodiscard]] std::string bytes_written_by(action act);

class memory_output {
 public:
  memory_output() : stream_(open_memstream(&bytes_, &size_)) {}
  ~memory_output();
  memory_output(const memory_output &) = delete;
  memory_output &operator=(const memory_output &) = delete;

  [[nodiscard]] std::FILE *stream() const { return stream_; }
  [[nodiscard]] std::string bytes() const;

 private:
  char *bytes_ = nullptr;
  std::size_t size_ = 0;
  std::FILE *stream_;
};

template <typename action>
std::string bytes_written_by(action act) {
  const memory_output output;
  act(output.stream());
  return output.bytes();
}

// The text that the action prints to standard output.
template <typename action>
[[nodiscard]] std::string printed_by(action act);

void begin_capture();
[[nodiscard]] std::string end_capture();

template <typename action>
std::string printed_by(action act) {
  begin_capture();
  act();
  return end_capture();
}

// The project's directory, for examples and golden files.
[[nodiscard]] std::string source_dir();

}  // namespace tarvel
