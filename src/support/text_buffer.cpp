#include "support/text_buffer.h"

#include <cstdarg>
#include <cstdio>

namespace tarvel {

text_buffer text_buffer_create(error_slot *error) {
  text_buffer buffer;
  buffer.error = error;
  if (!try_resize(buffer.data, text_buffer_initial_capacity)) {
    *error = "malloc() failed";
    return buffer;
  }
  buffer.data[0] = '\0';
  buffer.capacity = text_buffer_initial_capacity;
  return buffer;
}

void text_buffer_printf(text_buffer &buffer, const char *format, ...) {
  std::va_list arguments;
  std::va_list arguments_again;
  va_start(arguments, format);
  va_copy(arguments_again, arguments);

  const std::uint32_t room = buffer.capacity - buffer.length;
  const int printed = std::vsnprintf(buffer.data.get() + buffer.length, room, format, arguments);
  if (printed < 0) {
    *buffer.error = format_error("vsnprintf() failed (%d)\n", printed);
    buffer.data[buffer.length] = '\0';
  } else if (static_cast<std::uint32_t>(printed) < room) {
    buffer.length += static_cast<std::uint32_t>(printed);
  } else {
    const std::uint64_t needed = std::uint64_t{buffer.length} + static_cast<std::uint32_t>(printed) + 1;
    if (!try_reserve(buffer.data, buffer.capacity, needed, text_buffer_initial_capacity)) {
      *buffer.error = "realloc failed";
      buffer.data[buffer.length] = '\0';
    } else {
      std::vsnprintf(buffer.data.get() + buffer.length, buffer.capacity - buffer.length, format, arguments_again);
      buffer.length += static_cast<std::uint32_t>(printed);
    }
  }

  va_end(arguments_again);
  va_end(arguments);
}

}  // namespace tarvel
