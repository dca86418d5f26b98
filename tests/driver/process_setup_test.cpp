#include "driver/process_setup.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "support/files.h"

namespace tarvel {
namespace {

// Each test runs in a process of its own, whose exit status is the result.

// Descriptors 0 to 2 are open, and where they were closed they are unwritable and closed in other programs.
[[noreturn]] void close_and_open(int first_closed) {
  for (int number = first_closed; number <= STDERR_FILENO; ++number) close(number);
  error_slot error = nullptr;
  open_standard_streams(&error);
  if (error != nullptr) std::exit(3);
  for (int number = 0; number <= STDERR_FILENO; ++number) {
    if (fcntl(number, F_GETFD) < 0) std::exit(1);
  }
  for (int number = first_closed; number <= STDERR_FILENO; ++number) {
    if (write(number, "x", 1) >= 0 || errno != EBADF) std::exit(2);
    if ((fcntl(number, F_GETFD) & FD_CLOEXEC) == 0) std::exit(4);
  }
  std::exit(0);
}

TEST(process_setup_test, keeps_the_standard_descriptors_from_other_files) {
  for (const int first_closed : {0, 1, 2, 3}) {
    SCOPED_TRACE(first_closed);
    EXPECT_EXIT(close_and_open(first_closed), testing::ExitedWithCode(0), "");
  }
}

[[noreturn]] void open_without_descriptors(int closed) {
  if (closed >= 0) close(closed);
  rlimit usual;
  getrlimit(RLIMIT_NOFILE, &usual);
  const rlimit none = {0, usual.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  error_slot error = nullptr;
  open_standard_streams(&error);
  // Code that runs at the end of a process may need descriptors.
  setrlimit(RLIMIT_NOFILE, &usual);
  const std::string said = error != nullptr ? error : "";
  std::exit(said == (closed >= 0 ? "failed to open file: /dev/null" : "") ? 0 : 1);
}

// That matters only when one of the three is closed.
TEST(process_setup_test, reports_that_no_descriptor_is_left) {
  for (const int closed : {-1, 0, 1, 2}) {
    SCOPED_TRACE(closed);
    EXPECT_EXIT(open_without_descriptors(closed), testing::ExitedWithCode(0), "");
  }
}

[[noreturn]] void write_to_pipe_without_reader() {
  ignore_write_signals();
  int ends[2];
  if (pipe(ends) != 0) std::exit(1);
  close(ends[0]);
  std::exit(write(ends[1], "x", 1) < 0 && errno == EPIPE && raise(SIGXFSZ) == 0 ? 0 : 2);
}

TEST(process_setup_test, continues_after_a_reader_has_ended) {
  EXPECT_EXIT(write_to_pipe_without_reader(), testing::ExitedWithCode(0), "");
}

[[noreturn]] void load_zone(const char *zone) {
  if (zone != nullptr) {
    setenv("TZ", zone, 1);
  } else {
    unsetenv("TZ");
  }
  error_slot error = nullptr;
  load_time_zone(&error);
  if (error != nullptr) {
    dprintf(STDERR_FILENO, "%s\n", error);
    std::exit(1);
  }
  std::exit(std::getenv("TZ") != nullptr ? 0 : 2);
}

TEST(process_setup_test, loads_the_named_zone_or_that_of_the_system) {
  for (const char *const zone : {"UTC", "", "EST5EDT,M3.2.0,M11.1.0", "No/Such_Zone", "/", "/etc/passwd/zone"}) {
    SCOPED_TRACE(zone);
    EXPECT_EXIT(load_zone(zone), testing::ExitedWithCode(0), "");
  }
  EXPECT_EXIT(load_zone(nullptr), testing::ExitedWithCode(0), "");
}

// A process may open its memory, but there is nothing at address 0.
TEST(process_setup_test, names_the_zone_that_cannot_be_read) {
  EXPECT_EXIT(load_zone("/proc/self/mem"), testing::ExitedWithCode(1), "failed to read time zone: /proc/self/mem");
}

}  // namespace
}  // namespace tarvel
