#include "driver/standard_streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "driver/file_identity.h"

namespace tarvel {

namespace {

bool is_standard_stream(int descriptor, const struct stat &file) {
  struct stat stream;
  return S_ISREG(file.st_mode) && fstat(descriptor, &stream) == 0 && identity_of(stream) == identity_of(file);
}

}  // namespace

bool is_stdout(const struct stat &file) { return is_standard_stream(STDOUT_FILENO, file); }

bool is_printed_to(const struct stat &file) { return is_stdout(file) || is_standard_stream(STDERR_FILENO, file); }

bool silence_stderr(const struct stat &file) {
  if (!is_standard_stream(STDERR_FILENO, file)) return true;
  const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null_device < 0) return false;
  const bool is_silent = dup2(null_device, STDERR_FILENO) >= 0;
  close(null_device);
  return is_silent;
}

bool redirect_stdout_from(const struct stat &file) {
  return !is_stdout(file) || (silence_stderr(file) && dup2(STDERR_FILENO, STDOUT_FILENO) >= 0);
}

bool redirect_streams_from(const struct stat &file) {
  const bool was_stdout = is_stdout(file);
  return redirect_stdout_from(file) && silence_stderr(file) && !was_stdout;
}

}  // namespace tarvel
