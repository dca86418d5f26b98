// A growable text that reports and progress lines are appended to.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// Large enough for most reports and survey logs.
constexpr std::uint32_t text_buffer_initial_capacity = 1024;

struct text_buffer {
  owned_text data;              // the text so far, NUL-terminated
  std::uint32_t length = 0;     // bytes in use, without the NUL
  std::uint32_t capacity = 0;   // bytes allocated
  error_slot *error = nullptr;  // where a failed append stores its message
};

// An empty buffer that stores its messages in the given slot. When memory is short the message is "malloc() failed";
// the buffer then has no data and must not be appended to.
[[nodiscard]] text_buffer text_buffer_create(error_slot *error);

// Appends formatted text; the capacity is doubled until the text fits. A failure stores "vsnprintf() failed (%d)\n" or
// "realloc failed" in the buffer's slot and leaves the text unchanged; later appends still work.
[[gnu::format(printf, 2, 3)]] void text_buffer_printf(text_buffer &buffer, const char *format, ...);

}  // namespace tarvel
