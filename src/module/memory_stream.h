// Bytes in memory as streams that the engine reads and writes.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <utility>

#include "support/memory.h"

namespace tarvel {

struct stream_closer {
  void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};
using memory_stream = std::unique_ptr<std::FILE, stream_closer>;

struct memory_block {
  owned_text data;
  std::size_t size = 0;
};

// A seekable stream that reads a block, which must not move; the block may be empty, although fmemopen refuses that.
// Null when memory is short.
[[nodiscard]] memory_stream open_block(const memory_block &block);

// Sets the result to the bytes that write(stream) writes. False when memory is short; the result is then unchanged.
template <typename writer>
[[nodiscard]] bool write_block(memory_block &result, writer write) {
  char *data = nullptr;
  std::size_t size = 0;
  memory_stream stream(open_memstream(&data, &size));
  if (!stream) return false;
  write(stream.get());
  const bool is_written = std::ferror(stream.get()) == 0;
  const bool is_closed = std::fclose(stream.release()) == 0;
  memory_block written = {owned_text(data), size};
  if (!is_written || !is_closed || data == nullptr) return false;
  result = std::move(written);
  return true;
}

}  // namespace tarvel
