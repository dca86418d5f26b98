// Short texts of their own, such as titles and labels.
#pragma once

#include "support/memory.h"

namespace tarvel {

// What printf would print, null when memory is short.
[[nodiscard]] [[gnu::format(printf, 1, 2)]] owned_text format_text(const char *format, ...);

}  // namespace tarvel
