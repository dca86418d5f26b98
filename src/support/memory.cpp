#include "support/memory.h"

#include <cstring>

namespace tarvel {

void *resize_block(void *block, std::size_t count, std::size_t size) {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return nullptr;
  // realloc of 0 bytes may return null without having failed.
  return std::realloc(block, bytes == 0 ? 1 : bytes);
}

void *zeroed_block(std::size_t count, std::size_t size) { return std::calloc(count == 0 ? 1 : count, size); }

owned_text try_duplicate(const char *text) {
  const std::size_t size = std::strlen(text) + 1;
  owned_text copy;
  if (try_resize(copy, size)) std::memcpy(copy.get(), text, size);
  return copy;
}

}  // namespace tarvel
