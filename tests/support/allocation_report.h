// What failing_allocator.cpp counts in a call of the program. The record is in a file that the process maps: it can be
// read after the process has ended, by a signal or otherwise.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarvel {

struct allocation_report {
  std::atomic<std::uint64_t> own;      // allocations by the program, or by the C and C++ libraries that it called
  std::atomic<std::uint64_t> drawing;  // all others: by the drawing libraries, or by libraries that they called
  std::atomic<std::uint64_t> refused;
  std::atomic<std::uint64_t> place;  // the program's address at the first failure, relative to its load address
};

static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

}  // namespace tarvel
