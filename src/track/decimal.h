// Reads decimal numbers.
#pragma once

#include <string_view>

namespace tarvel {

// The same value, to the bit, as strtod of a text that is followed by a NUL: 0 when it does not begin with a number,
// and text after the number is ignored.
[[nodiscard]] double read_decimal(std::string_view text);

// Reads a text that consists of a decimal number alone: an optional minus sign, digits with or without a point, an
// optional exponent. False for any other text and for a number that is too large for a double; value is then unchanged.
[[nodiscard]] bool read_plain_decimal(std::string_view text, double &value);

}  // namespace tarvel
