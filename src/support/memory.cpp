#include "support/memory.h"

#include <sys/mman.h>

#include <cstring>

namespace tarvel {

std::size_t allocations_left = SIZE_MAX;
std::size_t allocations_refused = 0;

namespace {

void *count_refusal(void *block) {
  if (block == nullptr) ++allocations_refused;
  return block;
}

}  // namespace

bool grant_allocation() {
  if (allocations_left == SIZE_MAX) return true;
  if (allocations_left == 0) {
    ++allocations_refused;
    return false;
  }
  --allocations_left;
  return true;
}

void *resize_block(void *block, std::size_t count, std::size_t size) {
  if (!grant_allocation()) return nullptr;
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return count_refusal(nullptr);
  // A block of no bytes may come back null without being refused.
  return count_refusal(std::realloc(block, bytes == 0 ? 1 : bytes));
}

void *zeroed_block(std::size_t count, std::size_t size) {
  if (!grant_allocation()) return nullptr;
  return count_refusal(std::calloc(count == 0 ? 1 : count, size));
}

bool has_room(std::size_t bytes) {
  if (!grant_allocation()) return false;
  if (bytes == 0) return true;
  void *const room = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (room != MAP_FAILED) return munmap(room, bytes) == 0;
  ++allocations_refused;
  return false;
}

owned_text try_duplicate(const char *text) {
  const std::size_t size = std::strlen(text) + 1;
  owned_text copy;
  if (try_resize(copy, size)) std::memcpy(copy.get(), text, size);
  return copy;
}

}  // namespace tarvel
