#include "driver/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "driver/file_identity.h"
#include "driver/protected_inputs.h"
#include "driver/standard_streams.h"

namespace tarvel {

namespace {

// Opened with O_NONBLOCK, since a FIFO whose other end is missing would hold the program for ever, and then set to
// wait for its bytes.
file_handle open_stream(const char *path, int flags, const char *mode) {
  const int descriptor = open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  file_handle file(fcntl(descriptor, F_SETFL, 0) == 0 ? fdopen(descriptor, mode) : nullptr);
  if (!file) close(descriptor);
  return file;
}

// Null for a FIFO as well.
file_handle open_for_reading(const char *path, struct stat &status) {
  file_handle file = open_stream(path, O_RDONLY, "rb");
  if (!file || fstat(fileno(file.get()), &status) != 0 || S_ISFIFO(status.st_mode)) return nullptr;
  return file;
}

void fail_opening(const char *path, error_slot *error) { *error = format_error("failed to open file: %s", path); }

}  // namespace

file_handle open_input(const char *path, error_slot *error) {
  struct stat status;
  file_handle file = open_for_reading(path, status);
  // To every reader a directory is an empty file.
  if (file && S_ISDIR(status.st_mode)) file = open_stream("/dev/null", O_RDONLY, "rb");
  if (!file || !keep_streams_out(status)) {
    fail_opening(path, error);
    return nullptr;
  }
  if (!remember_input(path, status)) {
    *error = "strdup() failed";
    return nullptr;
  }
  return file;
}

file_handle open_written_file(const char *path) {
  struct stat status;
  file_handle file = open_for_reading(path, status);
  if (file && S_ISCHR(status.st_mode)) file.reset();
  return file;
}

void report_read_error(std::FILE *stream, const char *path, error_slot *error) {
  if (std::ferror(stream) != 0) *error = format_error("failed to read file: %s", path);
}

bool prepare_output(const char *path) {
  struct stat status;
  const lookup found = look_up(path, status);
  if (found == lookup::failed) return false;
  if (found == lookup::there && (is_stdout(status) || !silence_stderr(status))) return false;
  return set_aside_inputs(path);
}

file_handle open_output(const char *path, error_slot *error) {
  file_handle file(prepare_output(path) ? open_stream(path, O_WRONLY | O_CREAT | O_TRUNC, "wb") : nullptr);
  if (!file) fail_opening(path, error);
  return file;
}

void create_output(const char *path, error_slot *error) {
  file_handle file = open_output(path, error);
  if (file) close_output(std::move(file), path, error);
}

void close_output(file_handle file, const char *path, error_slot *error) {
  const bool had_error = std::ferror(file.get()) != 0;
  const bool is_closed = std::fclose(file.release()) == 0;
  if (*error == nullptr && (had_error || !is_closed)) *error = format_error("failed to write file: %s", path);
}

}  // namespace tarvel
