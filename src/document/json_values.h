// Numbers and texts as JSON. What JSON cannot express is null; bytes that are not UTF-8 are replaced when a text is
// written.
#pragma once

#include <cmath>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>

#include "support/integer.h"

namespace tarvel {

// Members stay in the order in which they are given.
using json = nlohmann::ordered_json;

// A double holds every integer up to this one.
constexpr std::int64_t greatest_json_integer = std::int64_t{1} << 53;

[[nodiscard]] constexpr bool is_json_integer(std::int64_t value) {
  return value >= -greatest_json_integer && value <= greatest_json_integer;
}

// The value times the factor, rounded to the nearest integer. NaN and numbers that are too large for a JSON integer
// give an integer that is too large for it.
[[nodiscard]] inline std::int64_t scaled_integer(double value, double factor) {
  return truncate_to_int64(std::round(value * factor));
}

[[nodiscard]] inline json json_number(double value) { return std::isfinite(value) ? json(value) : json(); }

[[nodiscard]] inline json json_integer(std::int64_t value) { return is_json_integer(value) ? json(value) : json(); }

// Rounded to thousandths.
[[nodiscard]] inline json json_thousandths(double value) {
  const std::int64_t thousandths = scaled_integer(value, 1000.0);
  return is_json_integer(thousandths) ? json(static_cast<double>(thousandths) / 1000.0) : json_number(value);
}

[[nodiscard]] inline json json_text(const char *text) { return text == nullptr ? json() : json(text); }

// A list: value_of each element.
template <typename range, typename conversion>
[[nodiscard]] json json_column(const range &elements, conversion value_of) {
  json::array_t column;
  column.reserve(std::size(elements));
  for (const auto &element : elements) column.push_back(value_of(element));
  return column;
}

}  // namespace tarvel
