// The text of a document, to which one part after the other is appended.
//
// The JSON library formats the small parts. Long lists of numbers are formatted here: as values of the library they
// would take several times the memory, and half of the time of a document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "document/json_values.h"
#include "support/memory.h"

namespace tarvel {

struct document_text {
  owned_text data;  // size bytes, not NUL-terminated
  std::size_t size = 0;
  std::size_t capacity = 0;
  bool is_short_of_memory = false;  // an allocation failed, and the text is incomplete
};

void append(document_text &text, std::string_view more);
void append(document_text &text, char more);

// Appends a comma, except after an opening bracket and at the beginning of a line.
void append_separator(document_text &text);

// Appends a separator, the name of a member in quotes, and a colon.
void append_name(document_text &text, std::string_view name);

// Append a value of the library, in which U+FFFD replaces bytes that are not UTF-8.
void append_json(document_text &text, const json &part);
void append_member(document_text &text, std::string_view name, const json &part);

// Appends null for an integer beyond 2^53, which a reader that has only doubles would change.
void append_integer(document_text &text, std::int64_t value);

// Appends a number rounded to thousandths, without trailing zeros; null for NaN and infinities.
void append_thousandths(document_text &text, double value);

// Appends a member that is a list: value_of each element, formatted by append_integer or append_thousandths.
template <typename number, typename range, typename conversion>
void append_column(document_text &text, std::string_view name, void (*append_number)(document_text &, number),
                   const range &elements, conversion value_of) {
  append_name(text, name);
  char before = '[';
  for (const auto &element : elements) {
    append(text, before);
    append_number(text, value_of(element));
    before = ',';
  }
  append(text, std::empty(elements) ? "[]" : "]");
}

}  // namespace tarvel
