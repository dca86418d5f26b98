// A whole input in memory: its digest is taken and its track is read from the same bytes.
#pragma once

#include <cstddef>
#include <cstdio>
#include <span>

#include "driver/file_handle.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

struct input_bytes {
  owned_array<unsigned char> data;
  std::size_t size = 0;
};

[[nodiscard]] inline std::span<const unsigned char> bytes_of(const input_bytes &input) {
  return {input.data.get(), input.size};
}

// Reads a file, a FIFO or, for "-", standard input to its end. Fails with "failed to open file: %s", "failed to read
// file: %s" or "realloc failed".
void read_input(const char *path, input_bytes &input, error_slot *error);

// A seekable stream over the bytes, which must outlive it. Null when memory is short.
[[nodiscard]] file_handle open_bytes_stream(const input_bytes &input);

// SHA-256 in hexadecimal.
struct digest_text {
  char text[65] = {};
};
[[nodiscard]] digest_text sha256_of(std::span<const unsigned char> bytes);

}  // namespace tarvel
