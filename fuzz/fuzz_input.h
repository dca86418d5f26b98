// What the fuzz targets share. A target that finds a broken promise aborts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "driver/file_handle.h"
#include "support/error_slot.h"
#include "support/outcome.h"
#include "support/text_buffer.h"

namespace tarvel {

inline void require(bool is_kept) {
  if (!is_kept) std::abort();
}

// A seekable stream over the bytes, which must not be empty: a stream in memory cannot be.
inline file_handle open_fuzz_input(const std::uint8_t *bytes, std::size_t size) {
  return file_handle(fmemopen(const_cast<std::uint8_t *>(bytes), size, "rb"));
}

// A buffer for what a reader warns of, which has room.
struct warning_buffer {
  error_slot error = nullptr;
  text_buffer buffer = text_buffer_create(&error);

  warning_buffer() { require(error == nullptr); }
  ~warning_buffer() { require(error == nullptr); }
  warning_buffer(const warning_buffer &) = delete;
  warning_buffer &operator=(const warning_buffer &) = delete;
};

// Bytes in memory can be read, and there is memory for them.
inline void require_answer(outcome result, error_slot error) {
  require(result == (error == nullptr ? outcome::done : outcome::not_this_form));
  require(error == nullptr || *error != '\0');
}

// A failure has words and leaves nothing behind; success leaves something.
inline void require_all_or_nothing(outcome result, error_slot error, bool has_result) {
  require_answer(result, error);
  require((error == nullptr) == has_result);
}

}  // namespace tarvel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
