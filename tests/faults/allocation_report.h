// What the failing allocator tells about a run. It lies in a file that the run has mapped, so that it outlives the run
// however that ends.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarvel {

struct allocation_report {
  std::atomic<std::uint64_t> own;      // requests of the program, and of the C and C++ libraries on its behalf
  std::atomic<std::uint64_t> drawing;  // all others: of the drawing libraries, and on their behalf
  std::atomic<std::uint64_t> refused;
  std::atomic<std::uint64_t> place;  // where the program was at the first refusal, counted from where it is loaded
};

static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

}  // namespace tarvel
