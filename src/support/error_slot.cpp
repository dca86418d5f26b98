#include "support/error_slot.h"

#include <cstdarg>
#include <cstdio>

namespace tarvel {

const char *format_error(const char *format, ...) {
  static char message[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  message[sizeof message - 1] = '\0';
  return message;
}

}  // namespace tarvel
