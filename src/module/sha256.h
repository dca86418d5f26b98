// SHA-256 (FIPS 180-4) of bytes in memory, for builds without a library that has it. Slower than the processor's own
// instructions, but fast enough for a file that a user opens: 100 MB in half a second.
#pragma once

#include <span>

namespace tarvel {

// A digest in hexadecimal.
struct sha256_text {
  char text[65] = {};
};

[[nodiscard]] sha256_text sha256_of(std::span<const char> bytes);

}  // namespace tarvel
