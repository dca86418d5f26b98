#include "driver/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "driver/file_identity.h"
#include "driver/protected_inputs.h"
#include "driver/standard_streams.h"

namespace tarvel {

namespace {

// Opens with O_NONBLOCK, since open() of a FIFO without a process at its other end would block. Reading and writing
// then block again.
file_handle open_stream(const char *path, int flags, const char *mode) {
  const int descriptor = open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  file_handle file(fcntl(descriptor, F_SETFL, 0) == 0 ? fdopen(descriptor, mode) : nullptr);
  if (!file) {
    close(descriptor);
    if ((flags & O_EXCL) != 0) unlink(path);
  }
  return file;
}

// Null for a FIFO as well.
file_handle open_for_reading(const char *path, struct stat &status) {
  file_handle file = open_stream(path, O_RDONLY, "rb");
  if (!file || fstat(fileno(file.get()), &status) != 0 || S_ISFIFO(status.st_mode)) return nullptr;
  return file;
}

void fail_opening(const char *path, error_slot *error) { *error = format_error("failed to open file: %s", path); }

using stream_check = bool (*)(const struct stat &file);

// Compares the standard streams with the opened file instead of its name: redirecting standard error changes the file
// that a name like /dev/stderr means. Empties the file last, since one that standard output goes to is refused and must
// not change.
file_handle open_emptied(const char *path, stream_check separate_streams, error_slot *error) {
  file_handle file(set_aside_inputs(path) ? open_stream(path, O_WRONLY | O_CREAT, "wb") : nullptr);
  struct stat status;
  const bool is_ready = file && fstat(fileno(file.get()), &status) == 0 && separate_streams(status);
  if (is_ready && empty_output(file.get())) return file;
  fail_opening(path, error);
  return nullptr;
}

}  // namespace

file_handle open_input(const char *path, error_slot *error) {
  struct stat status;
  file_handle file = open_for_reading(path, status);
  // A directory is read as an empty file.
  if (file && S_ISDIR(status.st_mode)) file = open_stream("/dev/null", O_RDONLY, "rb");
  if (!file || !redirect_streams_from(status)) {
    fail_opening(path, error);
    return nullptr;
  }
  if (!add_input(path, status)) {
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

void copy_bytes(std::FILE *from, std::FILE *to) {
  for (int byte = std::getc(from); byte != EOF; byte = std::getc(from)) {
    if (std::putc(byte, to) == EOF) return;
  }
}

bool empty_output(std::FILE *file) {
  struct stat status;
  const int descriptor = fileno(file);
  if (fstat(descriptor, &status) != 0) return false;
  return !S_ISREG(status.st_mode) || ftruncate(descriptor, 0) == 0;
}

file_handle open_output(const char *path, error_slot *error) {
  return open_emptied(
      path, [](const struct stat &file) { return !is_stdout(file) && silence_stderr(file); }, error);
}

file_handle open_printed_output(const char *path, error_slot *error) {
  return open_emptied(
      path, [](const struct stat &file) { return redirect_stdout_from(file) && silence_stderr(file); }, error);
}

file_handle open_new_output(const char *path, error_slot *error) {
  file_handle file = open_stream(path, O_WRONLY | O_CREAT | O_EXCL, "wb");
  if (!file) *error = format_error(errno == EEXIST ? "file exists: %s" : "failed to open file: %s", path);
  return file;
}

void close_output(file_handle file, const char *path, error_slot *error) {
  const bool had_error = std::ferror(file.get()) != 0;
  const bool is_closed = std::fclose(file.release()) == 0;
  if (*error == nullptr && (had_error || !is_closed)) *error = format_error("failed to write file: %s", path);
}

}  // namespace tarvel
