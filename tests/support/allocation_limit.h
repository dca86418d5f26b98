// Refuses memory from the n-th request on.
#pragma once

#include <cstddef>

#include "support/memory.h"

namespace tarvel {

class allocation_limit {
 public:
  explicit allocation_limit(std::size_t granted) { allocations_left = granted; }
  ~allocation_limit() { allocations_left = SIZE_MAX; }
  allocation_limit(const allocation_limit &) = delete;
  allocation_limit &operator=(const allocation_limit &) = delete;
};

}  // namespace tarvel
