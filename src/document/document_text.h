// A document as far as it has been written.
//
// The JSON library makes the small parts. Long lists of numbers are written here at once: as records of the library they
// would take several times their memory and half of the time of a document.
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
  bool is_short_of_memory = false;  // what came then is missing
};

void append(document_text &text, std::string_view more);
void append(document_text &text, char more);

// A comma, but not behind an opening bracket or at the beginning of a line.
void append_separator(document_text &text);

// The name of a member, with what stands before and behind it.
void append_name(document_text &text, std::string_view name);

// A part from the library. A name in another encoding has U+FFFD for each byte that is no UTF-8.
void append_json(document_text &text, const json &part);
void append_member(document_text &text, std::string_view name, const json &part);

// What JSON cannot express is null.
void append_integer(document_text &text, std::int64_t value);

// To thousandths, without zeros at the end.
void append_thousandths(document_text &text, double value);

// A member that is a list with a number of each element, each written by one of the two functions above.
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
