#include "support/format_text.h"

#include <cstdarg>
#include <cstdio>

namespace tarvel {

owned_text format_text(const char *format, ...) {
  std::va_list arguments;
  std::va_list arguments_again;
  va_start(arguments, format);
  va_copy(arguments_again, arguments);
  owned_text text;
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  if (length >= 0 && try_resize(text, static_cast<std::size_t>(length) + 1)) {
    std::vsnprintf(text.get(), static_cast<std::size_t>(length) + 1, format, arguments_again);
  }
  va_end(arguments_again);
  va_end(arguments);
  return text;
}

}  // namespace tarvel
