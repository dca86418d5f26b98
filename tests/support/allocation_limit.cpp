#include "support/allocation_limit.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdint>

namespace tarvel {

namespace {

std::size_t requests_left = SIZE_MAX;

bool is_granted() {
  if (requests_left == SIZE_MAX) return true;
  if (requests_left == 0) {
    errno = ENOMEM;
    return false;
  }
  --requests_left;
  return true;
}

}  // namespace

allocation_limit::allocation_limit(std::size_t granted) { requests_left = granted; }
allocation_limit::~allocation_limit() { requests_left = SIZE_MAX; }

}  // namespace tarvel

// With -Wl,--wrap=realloc the linker resolves realloc to __wrap_realloc, and __real_realloc to realloc.
extern "C" {

void *__real_malloc(std::size_t bytes);
void *__real_realloc(void *block, std::size_t bytes);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_mmap(void *address, std::size_t bytes, int protection, int flags, int descriptor, off_t offset);

// A compiler may turn realloc(nullptr, bytes) into this.
void *__wrap_malloc(std::size_t bytes) { return tarvel::is_granted() ? __real_malloc(bytes) : nullptr; }

void *__wrap_realloc(void *block, std::size_t bytes) {
  return tarvel::is_granted() ? __real_realloc(block, bytes) : nullptr;
}

// Null for 0 bytes, as in some C libraries.
void *__wrap_calloc(std::size_t count, std::size_t size) {
  return tarvel::is_granted() && count != 0 && size != 0 ? __real_calloc(count, size) : nullptr;
}

void *__wrap_mmap(void *address, std::size_t bytes, int protection, int flags, int descriptor, off_t offset) {
  if (!tarvel::is_granted()) return MAP_FAILED;
  return __real_mmap(address, bytes, protection, flags, descriptor, offset);
}

}  // extern "C"
