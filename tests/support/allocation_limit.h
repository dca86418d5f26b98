// Refuses memory from the n-th request on: what src/support/memory.cpp asks of realloc and calloc, and the room that is
// mapped before drawing. The linker puts the functions of allocation_limit.cpp in their place.
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
