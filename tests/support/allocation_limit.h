// Makes allocations fail from the n-th on: calls of realloc and calloc by src/support/memory.cpp, and the call of mmap
// before drawing. The linker replaces these functions by those of allocation_limit.cpp.
#pragma once

#include <cstddef>

namespace tarvel {

class allocation_limit {
 public:
  explicit allocation_limit(std::size_t granted);
  ~allocation_limit();
  allocation_limit(const allocation_limit &) = delete;
  allocation_limit &operator=(const allocation_limit &) = delete;
};

}  // namespace tarvel
