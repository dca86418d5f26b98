// What the drawing libraries need before the first chart, and do not say when it is missing.
#pragma once

#include <cstddef>

namespace tarvel {

// Without memory these libraries end the process, wait for ever, or go on with other fonts. So they are only called
// where there is room for what they will need for charts of so many samples, and the machine's fonts are known to
// them. False when memory is short.
[[nodiscard]] bool prepare_drawing(std::size_t samples);

}  // namespace tarvel
