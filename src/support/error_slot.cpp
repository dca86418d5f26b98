#include "support/error_slot.h"

#include <bit>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace tarvel {

namespace {

// The length of the text, at least 3 bytes, without an incomplete UTF-8 character at its end. The first byte of a
// multi-byte character begins with as many one bits as the character has bytes, each further byte with a single one
// bit.
std::size_t length_of_whole_characters(const char *text, std::size_t length) {
  for (std::size_t back = 1; back <= 3; ++back) {
    const auto ones = static_cast<std::size_t>(std::countl_one(static_cast<unsigned char>(text[length - back])));
    if (ones != 1) return ones <= 4 && back < ones ? length - back : length;
  }
  return length;
}

}  // namespace

const char *format_error(const char *format, ...) {
  static char message[256];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  constexpr std::size_t room = sizeof message - 1;
  if (length > static_cast<int>(room)) message[length_of_whole_characters(message, room)] = '\0';
  return message;
}

}  // namespace tarvel
