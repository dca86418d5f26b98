// An input whose digest is computed while it is read, so that digest and analysis are of the same bytes. Readers may
// seek back: a file is then read again, but each byte enters the digest once; the bytes of a pipe are kept in memory.
#pragma once

#include <nettle/sha2.h>

#include <cstdint>

#include "driver/file_handle.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Must not move while its stream is open.
struct input_stream {
  int descriptor = -1;              // of a file; the stream closes it
  std::int64_t position = 0;        // in the file
  std::int64_t digested = 0;        // number of bytes from the start that are in the digest
  sha256_ctx digest = {};           // of these bytes
  owned_array<unsigned char> kept;  // all bytes of a pipe
  owned_text buffer;                // the stream's buffer
  file_handle stream;
};

// Opens a file, a FIFO or, for "-", standard input. Fails with "failed to open file: %s", also when standard output goes
// to that file, and for a FIFO also with "failed to read file: %s" or "realloc failed". Neither standard output nor
// standard error goes to an opened file afterwards.
void open_input_stream(const char *path, input_stream &input, error_slot *error);

// SHA-256 in hexadecimal.
struct digest_text {
  char text[65] = {};
};

// Reads the rest of the input, and returns the digest of all of it. The caller checks the stream for errors.
[[nodiscard]] digest_text finish_digest(input_stream &input);

}  // namespace tarvel
