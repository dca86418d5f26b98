#include "driver/standard_streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

#include "support/files.h"

namespace tarvel {
namespace {

// The next output would get a closed descriptor, and printed text would be written into it.
[[noreturn]] void redirect_without_descriptors() {
  const int file = open("run.txt", O_WRONLY | O_CREAT, 0666);
  struct stat status;
  if (fstat(file, &status) != 0) std::exit(1);
  for (const int number : {STDOUT_FILENO, STDERR_FILENO}) dup2(file, number);
  rlimit usual;
  getrlimit(RLIMIT_NOFILE, &usual);
  const rlimit none = {0, usual.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const bool is_redirected = redirect_stdout_from(status) || redirect_streams_from(status) || silence_stderr(status);
  // Code that runs at the end of a process may need descriptors.
  setrlimit(RLIMIT_NOFILE, &usual);
  std::exit(!is_redirected && is_stdout(status) ? 0 : 2);
}

TEST(standard_streams_test, keeps_standard_output_open_when_it_cannot_be_redirected) {
  const temp_dir dir;
  EXPECT_EXIT(redirect_without_descriptors(), testing::ExitedWithCode(0), "");
}

// What is written to standard error vanishes without an error, even when /dev/null was opened as descriptor 0.
[[noreturn]] void write_to_silent_stderr() {
  const int file = open("run.txt", O_WRONLY | O_CREAT, 0666);
  struct stat status;
  if (fstat(file, &status) != 0) std::exit(1);
  dup2(file, STDERR_FILENO);
  close(STDIN_FILENO);
  if (!silence_stderr(status)) std::exit(2);
  const bool is_written = write(STDERR_FILENO, "x", 1) == 1;
  std::exit(is_written && fstat(file, &status) == 0 && status.st_size == 0 ? 0 : 3);
}

TEST(standard_streams_test, keeps_standard_error_writable_when_it_goes_to_an_output) {
  const temp_dir dir;
  EXPECT_EXIT(write_to_silent_stderr(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tarvel
