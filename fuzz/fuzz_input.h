// What the fuzz targets share. A target that finds a broken promise aborts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "driver/file_handle.h"
#include "support/error_slot.h"

namespace tarvel {

inline void require(bool is_kept) {
  if (!is_kept) std::abort();
}

// A seekable stream over the bytes, which must not be empty: a stream in memory cannot be.
inline file_handle open_fuzz_input(const std::uint8_t *bytes, std::size_t size) {
  return file_handle(fmemopen(const_cast<std::uint8_t *>(bytes), size, "rb"));
}

// A failure has words and leaves nothing behind; success leaves something.
inline void require_all_or_nothing(error_slot error, bool has_result) {
  require((error == nullptr) == has_result);
  require(error == nullptr || *error != '\0');
}

}  // namespace tarvel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
