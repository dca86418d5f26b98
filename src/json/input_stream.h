// An input whose digest is taken as it is read, each byte once: what it tells and what was found are of the same bytes.
// Readers may go back, in a file by reading it again; what comes from a pipe is kept.
#pragma once

#include <nettle/sha2.h>

#include <cstdint>

#include "driver/file_handle.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Stays where it is while its stream is open.
struct input_stream {
  int descriptor = -1;              // of a file; the stream closes it
  std::int64_t position = 0;        // in the file
  std::int64_t digested = 0;        // bytes from the start
  sha256_ctx digest = {};           // of those
  owned_array<unsigned char> kept;  // from a pipe
  owned_text buffer;                // of the stream
  file_handle stream;
};

// Opens a file, a FIFO or, for "-", standard input. Fails with "failed to open file: %s" and, for what is no file, with
// "failed to read file: %s" or "realloc failed".
void open_input_stream(const char *path, input_stream &input, error_slot *error);

// SHA-256 in hexadecimal.
struct digest_text {
  char text[65] = {};
};

// Reads to the end what has not been read yet. The caller checks the stream for errors.
[[nodiscard]] digest_text finish_digest(input_stream &input);

}  // namespace tarvel
