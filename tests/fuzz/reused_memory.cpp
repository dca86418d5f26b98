// Memory for the libFuzzer programs, which are linked with --wrap=realloc,--wrap=free. AddressSanitizer maps a new
// block for each allocation of more than 128 kB and unmaps it when it is freed. Every track starts with an array of 900
// kB (4096 samples), and mapping it took nine tenths of the time of a small input. Here the large block that was freed
// last is poisoned and kept, and the next allocation of the same size reuses it. Accesses beyond its end, uses after it
// was freed, double frees and leaks are reported as before.
#include <malloc.h>
#include <sanitizer/asan_interface.h>

#include <cstddef>

namespace {

constexpr std::size_t largest_small_block = std::size_t{1} << 17;

struct freed_block {
  void *address = nullptr;
  std::size_t size = 0;
};

freed_block kept;

}  // namespace

extern "C" {

void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_realloc(void *block, std::size_t size) {
  if (block != nullptr || kept.address == nullptr || size != kept.size) return __real_realloc(block, size);
  void *const reused = kept.address;
  kept = {};
  __asan_unpoison_memory_region(reused, size);
  return reused;
}

void __wrap_free(void *block) {
  const std::size_t size = malloc_usable_size(block);
  if (size <= largest_small_block) {
    __real_free(block);
    return;
  }
  if (block == kept.address) __builtin_trap();  // freed twice
  if (kept.address != nullptr) {
    __asan_unpoison_memory_region(kept.address, kept.size);
    __real_free(kept.address);
  }
  kept = {block, size};
  __asan_poison_memory_region(block, size);
}

// A quarantine of 1 MB for freed blocks instead of 256 MB: more than a small input frees, and it fits in the caches.
const char *__asan_default_options() { return "quarantine_size_mb=1"; }

}  // extern "C"
