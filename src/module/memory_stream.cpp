#include "module/memory_stream.h"

namespace tarvel {

namespace {

ssize_t read_nothing(void *, char *, std::size_t) { return 0; }

int stay_at_start(void *, off_t *offset, int) {
  *offset = 0;
  return 0;
}

}  // namespace

memory_stream open_block(const memory_block &block) {
  if (block.size == 0)
    return memory_stream(fopencookie(nullptr, "rb", {read_nothing, nullptr, stay_at_start, nullptr}));
  return memory_stream(fmemopen(block.data.get(), block.size, "rb"));
}

}  // namespace tarvel
