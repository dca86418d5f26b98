// A page of memory behind which nothing can be read or written.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace tarvel {

class guarded_page {
 public:
  guarded_page() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    pages_ = mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages_ == MAP_FAILED || mprotect(end(), size_, PROT_NONE) != 0) ADD_FAILURE() << "no page";
  }
  ~guarded_page() { munmap(pages_, 2 * size_); }
  guarded_page(const guarded_page &) = delete;
  guarded_page &operator=(const guarded_page &) = delete;

  // One past its last byte.
  [[nodiscard]] std::uint8_t *end() const { return static_cast<std::uint8_t *>(pages_) + size_; }

 private:
  std::size_t size_;
  void *pages_;
};

}  // namespace tarvel
