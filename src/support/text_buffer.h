// A growable text into which reports and progress lines are printed piece by piece.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Fits a whole report or survey log in one allocation.
constexpr std::uint32_t text_buffer_initial_capacity = 1024;

struct text_buffer {
  owned_text data;              // the text so far, NUL-terminated
  std::uint32_t length = 0;     // bytes in use, without the NUL
  std::uint32_t capacity = 0;   // bytes allocated
  error_slot *error = nullptr;  // the building stage's own slot, where an append reports its failure
};

// An empty buffer that reports to the given slot. When memory is short the slot says "malloc() failed", and the buffer
// has no data and must not be appended to.
[[nodiscard]] text_buffer text_buffer_create(error_slot *error);

// Appends formatted text, doubling the capacity as often as needed. A failure ("vsnprintf() failed (%d)\n",
// "realloc failed") goes to the buffer's slot and leaves the text as it was; later appends still work.
[[gnu::format(printf, 2, 3)]] void text_buffer_printf(text_buffer &buffer, const char *format, ...);

}  // namespace tarvel
