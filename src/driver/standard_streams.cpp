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

void redirect_stdout(const struct stat &file) {
  if (!silence_stderr(file) || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) close(STDOUT_FILENO);
}

}  // namespace

bool is_stdout(const struct stat &file) { return is_standard_stream(STDOUT_FILENO, file); }

bool silence_stderr(const struct stat &file) {
  if (!is_standard_stream(STDERR_FILENO, file)) return true;
  const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null_device < 0) return false;
  const bool is_silent = dup2(null_device, STDERR_FILENO) >= 0;
  close(null_device);
  return is_silent;
}

bool keep_streams_out(const struct stat &file) {
  const bool was_stdout = is_stdout(file);
  if (was_stdout) redirect_stdout(file);
  return silence_stderr(file) && !was_stdout;
}

void redirect_stdout_from(const char *path) {
  struct stat file;
  if (look_up(path, file) == lookup::there && is_stdout(file)) redirect_stdout(file);
}

}  // namespace tarvel
