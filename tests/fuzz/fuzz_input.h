// Code that the fuzz targets share. A target aborts when a condition that must hold does not.
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

inline void require(bool condition) {
  if (!condition) std::abort();
}

// A seekable stream over the bytes. There must be at least one, since fmemopen refuses an empty buffer.
inline file_handle open_fuzz_input(const std::uint8_t *bytes, std::size_t size) {
  return file_handle(fmemopen(const_cast<std::uint8_t *>(bytes), size, "rb"));
}

// A buffer for warnings. Aborts when memory for it runs out.
struct warning_buffer {
  error_slot error = nullptr;
  text_buffer buffer = text_buffer_create(&error);

  warning_buffer() { require(error == nullptr); }
  ~warning_buffer() { require(error == nullptr); }
  warning_buffer(const warning_buffer &) = delete;
  warning_buffer &operator=(const warning_buffer &) = delete;
};

// The input is in memory and small: a reader either succeeds or rejects the form, and then it has a message.
inline void require_answer(outcome result, error_slot error) {
  require(result == (error == nullptr ? outcome::done : outcome::not_this_form));
  require(error == nullptr || *error != '\0');
}

// Also requires a result after success and none after a failure.
inline void require_all_or_nothing(outcome result, error_slot error, bool has_result) {
  require_answer(result, error);
  require((error == nullptr) == has_result);
}

}  // namespace tarvel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
