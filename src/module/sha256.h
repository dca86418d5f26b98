// SHA-256 (FIPS 180-4) of bytes in memory, for where no library has it. Slower than the processor's own instructions, and
// fast enough for a file that a person waits for: 100 MB in half a second.
#pragma once

#include <span>

namespace tarvel {

// In hexadecimal.
struct sha256_text {
  char text[65] = {};
};

[[nodiscard]] sha256_text sha256_of(std::span<const char> bytes);

}  // namespace tarvel
