#include "driver/process_setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iterator>

namespace tarvel {

namespace {

// Values of errno after tzset when the zone's file does not exist or TZ is a rule such as "EST5EDT".
constexpr int no_such_zone[] = {0, ENOENT, ENOTDIR, EISDIR, ELOOP, ENAMETOOLONG, EINVAL};

bool are_standard_streams_open() {
  for (int number = 0; number <= STDERR_FILENO; ++number) {
    if (fcntl(number, F_GETFD) < 0) return false;
  }
  return true;
}

}  // namespace

void open_standard_streams(error_slot *error) {
  constexpr const char *empty_file = "/dev/null";
  int descriptor = 0;
  do {
    descriptor = open(empty_file, O_RDONLY | O_CLOEXEC);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) {
    close(descriptor);
  } else if (!are_standard_streams_open()) {
    *error = format_error("failed to open file: %s", empty_file);
  }
}

void ignore_write_signals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void load_time_zone(error_slot *error) {
  // When TZ is not set, the C library reads the zone's file again for every minute, and an I/O error would change the
  // zone in the middle of a track.
  constexpr const char *system_zone = "/etc/localtime";
  const char *const named = std::getenv("TZ");
  const char *const zone = named != nullptr ? named : system_zone;
  errno = 0;
  if (named != nullptr || setenv("TZ", system_zone, 0) == 0) tzset();
  const int cause = errno;
  if (std::find(std::begin(no_such_zone), std::end(no_such_zone), cause) == std::end(no_such_zone)) {
    *error = format_error("failed to read time zone: %s", zone);
  }
}

}  // namespace tarvel
