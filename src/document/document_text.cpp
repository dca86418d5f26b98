#include "document/document_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace tarvel {

namespace {

// Fits the document of an ordinary run. Pages of the block that are not written to take no memory.
constexpr std::size_t first_capacity = 262'144;

constexpr std::size_t longest_integer = 20;  // a minus and 19 digits

bool grow(document_text &text, std::size_t length) {
  const bool has_grown = try_reserve(text.data, text.capacity, std::uint64_t{text.size} + length, first_capacity);
  if (!has_grown) text.is_short_of_memory = true;
  return has_grown;
}

bool make_room(document_text &text, std::size_t length) {
  return text.capacity - text.size >= length || grow(text, length);
}

void append_digits(document_text &text, std::int64_t value) {
  if (!make_room(text, longest_integer)) return;
  char *const first = text.data.get() + text.size;
  text.size += static_cast<std::size_t>(std::to_chars(first, first + longest_integer, value).ptr - first);
}

}  // namespace

void append(document_text &text, std::string_view more) {
  if (!make_room(text, more.size())) return;
  std::copy(more.begin(), more.end(), text.data.get() + text.size);
  text.size += more.size();
}

void append(document_text &text, char more) {
  if (make_room(text, 1)) text.data[text.size++] = more;
}

void append_separator(document_text &text) {
  if (text.size == 0) return;
  const char last = text.data[text.size - 1];
  if (last != '{' && last != '[' && last != '\n') append(text, ",");
}

void append_name(document_text &text, std::string_view name) {
  append_separator(text);
  append(text, "\"");
  append(text, name);
  append(text, "\":");
}

void append_json(document_text &text, const json &part) {
  append(text, part.dump(-1, ' ', false, json::error_handler_t::replace));
}

void append_member(document_text &text, std::string_view name, const json &part) {
  append_name(text, name);
  append_json(text, part);
}

void append_integer(document_text &text, std::int64_t value) {
  if (!is_json_integer(value)) return append(text, "null");
  append_digits(text, value);
}

void append_thousandths(document_text &text, double value) {
  const std::int64_t thousandths = scaled_integer(value, 1000.0);
  if (!is_json_integer(thousandths)) return append_json(text, json_number(value));
  if (thousandths < 0) append(text, "-");
  const std::int64_t magnitude = std::abs(thousandths);
  append_digits(text, magnitude / 1000);
  const std::int64_t rest = magnitude % 1000;
  if (rest == 0) return;
  const char decimals[] = {'.', static_cast<char>('0' + rest / 100), static_cast<char>('0' + rest / 10 % 10),
                           static_cast<char>('0' + rest % 10)};
  const std::string_view all(decimals, sizeof decimals);
  append(text, all.substr(0, all.find_last_not_of('0') + 1));
}

}  // namespace tarvel
