// Formats short texts, such as titles and labels, into allocated memory.
#pragma once

#include "support/memory.h"

namespace tarvel {

// The text that printf would print; null when memory is short.
[[nodiscard]] [[gnu::format(printf, 1, 2)]] owned_text format_text(const char *format, ...);

}  // namespace tarvel
