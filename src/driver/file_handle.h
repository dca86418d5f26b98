// Owners of open files, and functions that open and close them.
#pragma once

#include <cstdio>
#include <memory>

#include "support/error_slot.h"

namespace tarvel {

struct file_closer {
  void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};
using file_handle = std::unique_ptr<std::FILE, file_closer>;

// Opens a track or course file for reading and protects it as protect_input does. Null with "strdup() failed" or
// "failed to open file: %s". The latter is also the message for a FIFO, since several readers read a track from its
// start and a pipe cannot seek, and for the file that standard output goes to. A directory is read as an empty file.
[[nodiscard]] file_handle open_input(const char *path, error_slot *error);

// Opens for reading a file that the program has written. Null when that fails, and for a FIFO or a device, from which
// the written bytes cannot be read.
[[nodiscard]] file_handle open_written_file(const char *path);

// Call it after reading a stream: when the stream had an I/O error, replaces the reader's message by "failed to read
// file: %s".
void report_read_error(std::FILE *stream, const char *path, error_slot *error);

// Opens an output and empties it. First renames an input of this call with that name (see set_aside_inputs). When
// standard error goes to the file, redirects it to /dev/null. Null with "failed to open file: %s", also for a FIFO
// without a reader, and for the file that standard output goes to, which would otherwise receive both.
[[nodiscard]] file_handle open_output(const char *path, error_slot *error);

// The same, but when standard output goes to the file, redirects it to standard error.
[[nodiscard]] file_handle open_printed_output(const char *path, error_slot *error);

// Creates an output. Null with "file exists: %s" when the name exists, even as a dangling symbolic link, or with
// "failed to open file: %s".
[[nodiscard]] file_handle open_new_output(const char *path, error_slot *error);

// Copies the rest of a stream. Stops at the first error, which report_read_error or close_output then reports.
void copy_bytes(std::FILE *from, std::FILE *to);

// Truncates a regular file to 0 bytes; does nothing for pipes and devices. False when that fails.
[[nodiscard]] bool empty_output(std::FILE *file);

// Writes buffered bytes and closes the file. Fails with "failed to write file: %s" when this or an earlier write to the
// file failed; a message that is already in the slot is kept.
void close_output(file_handle file, const char *path, error_slot *error);

}  // namespace tarvel
