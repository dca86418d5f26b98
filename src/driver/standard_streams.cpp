#include "driver/standard_streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "driver/file_identity.h"

namespace tarvel {

namespace {

bool is_standard_stream(int descriptor, const struct stat &status) {
  struct stat stream;
  return S_ISREG(status.st_mode) && fstat(descriptor, &stream) == 0 && identity_of(stream) == identity_of(status);
}

}  // namespace

bool is_stdout(const struct stat &file) { return is_standard_stream(STDOUT_FILENO, file); }

// Not even a message may land in an input or behind a report.
void redirect_stdout(const struct stat &file) {
  const bool is_everywhere = is_standard_stream(STDERR_FILENO, file);
  const int elsewhere = is_everywhere ? open("/dev/null", O_WRONLY | O_CLOEXEC) : STDERR_FILENO;
  if (dup2(elsewhere, STDOUT_FILENO) < 0) close(STDOUT_FILENO);
}

void redirect_stdout_from(const char *path) {
  struct stat status;
  if (look_up(path, status) == lookup::there && is_stdout(status)) redirect_stdout(status);
}

}  // namespace tarvel
