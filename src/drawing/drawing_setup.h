// What the drawing libraries need before the first chart, and do not say when it is missing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/error_slot.h"

namespace tarvel {

// Bytes that charts of so many samples take, and some more. Measured with Debian's fonts: 40 MB for these, the threads
// that read them and two pages without curves, and 2,100 bytes for each sample.
[[nodiscard]] constexpr std::size_t drawing_room(std::uint32_t samples) {
  return (std::size_t{64} << 20) + std::size_t{4096} * samples;
}

// Without memory, threads or numbers for open files these libraries end the process, wait for ever, or go on with other
// fonts. So they are only called where there is enough for charts of so many samples, and the machine's fonts are known
// to them. Otherwise "failed to allocate memory for charts", or "failed to read font for charts" when too many files
// are open.
void prepare_drawing(std::uint32_t samples, error_slot *error);

}  // namespace tarvel
