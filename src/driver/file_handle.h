// Files: an owner for the handle, opening and closing.
#pragma once

#include <cstdio>
#include <memory>

#include "support/error_slot.h"

namespace tarvel {

struct file_closer {
  void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};
using file_handle = std::unique_ptr<std::FILE, file_closer>;

// Opens a track or course file for reading and protects it. Null with "failed to open file: %s", also for a FIFO, since
// every reader that tries a track begins at its start and a pipe cannot go back, and for the file that standard output
// goes to, as by protect_input. A directory reads as an empty file.
[[nodiscard]] file_handle open_input(const char *path, error_slot *error);

// Opens for reading what the program has written. Null when that fails, and for a FIFO or a device, which do not return
// what was written to them.
[[nodiscard]] file_handle open_written_file(const char *path);

// After the reading of a stream has failed or ended: an I/O error of the stream puts "failed to read file: %s" in the
// place of the reader's message.
void report_read_error(std::FILE *stream, const char *path, error_slot *error);

// Opens an output, emptied. An input of this run that has its name is renamed first (see set_aside_inputs), and what is
// printed to standard error is kept out of the file. Null with "failed to open file: %s", also for a FIFO that nobody
// reads from and for the file that standard output goes to, which would get both.
[[nodiscard]] file_handle open_output(const char *path, error_slot *error);

// The same for an output that standard output may go to: what is printed later goes to standard error.
[[nodiscard]] file_handle open_printed_output(const char *path, error_slot *error);

// Creates an output. Null with "file exists: %s" when anything has its name, also a link that leads nowhere, or with
// "failed to open file: %s".
[[nodiscard]] file_handle open_new_output(const char *path, error_slot *error);

// Copies what is left of a stream. Stops at the first error, which report_read_error or close_output then names.
void copy_bytes(std::FILE *from, std::FILE *to);

// Empties a regular file; pipes and devices are left alone. False when that fails.
[[nodiscard]] bool empty_output(std::FILE *file);

// Writes out what is buffered and closes. Any write that failed since the opening fails with
// "failed to write file: %s"; a message that is already in the slot stays.
void close_output(file_handle file, const char *path, error_slot *error);

}  // namespace tarvel
