// Numbers as loggers write them.
#pragma once

#include <string_view>

namespace tarvel {

// What strtod gives for a text that a NUL follows, to the bit: 0 for what is not a number, trailing text ignored.
[[nodiscard]] double read_decimal(std::string_view text);

// Reads a text that is nothing but a decimal: a minus sign or none, digits with or without a point, an exponent or
// none. False for any other spelling and for a number that is too large for a double; value then stays.
[[nodiscard]] bool read_plain_decimal(std::string_view text, double &value);

}  // namespace tarvel
