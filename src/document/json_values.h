// Numbers and texts as JSON. What JSON cannot express is null; texts that are not UTF-8 are mended when they are written.
#pragma once

#include <cmath>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>

#include "support/integer.h"

namespace tarvel {

// Members stay in the order in which they are given.
using json = nlohmann::ordered_json;

// What a reader that has only doubles can hold.
constexpr std::int64_t greatest_json_integer = std::int64_t{1} << 53;

[[nodiscard]] inline json json_number(double value) { return std::isfinite(value) ? json(value) : json(); }

[[nodiscard]] inline json json_integer(std::int64_t value) {
  return value >= -greatest_json_integer && value <= greatest_json_integer ? json(value) : json();
}

// The value times the factor as the nearest integer.
[[nodiscard]] inline json json_scaled(double value, double factor) {
  const double scaled = std::round(value * factor);
  const bool fits = std::fabs(scaled) <= static_cast<double>(greatest_json_integer);
  return fits ? json(truncate_to_int64(scaled)) : json();
}

// To thousandths, which keeps long lists short.
[[nodiscard]] inline json json_thousandths(double value) {
  const double thousandths = std::round(value * 1000.0);
  const bool fits = std::fabs(thousandths) <= static_cast<double>(greatest_json_integer);
  return fits ? json(thousandths / 1000.0) : json_number(value);
}

[[nodiscard]] inline json json_text(const char *text) { return text == nullptr ? json() : json(text); }

// One value of each element.
template <typename range, typename conversion>
[[nodiscard]] json json_column(const range &elements, conversion value_of) {
  json::array_t column;
  column.reserve(std::size(elements));
  for (const auto &element : elements) column.push_back(value_of(element));
  return column;
}

}  // namespace tarvel
