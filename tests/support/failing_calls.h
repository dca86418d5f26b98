// Makes calls of the C library fail, for tests that are linked with failing_calls.cpp.
#pragma once

#include <cstddef>

namespace tarvel {

enum class c_call {
  open_memstream,
  fread,
  fwrite,
  fseeko,
  ftello,
  stat,
  lstat,
  fstat,
  fcntl,
  fdopen,
  realpath,
  renameat2,
  rename,
  fsync,
  ftruncate,
  fchown,
  fchmod,
  localtime_r,
  strftime,
  count_of_calls
};

// Until the end of the scope this call fails with this errno, after the given number of calls that succeed.
class failing_call {
 public:
  failing_call(c_call call, std::size_t granted, int error_number);
  ~failing_call();
  failing_call(const failing_call &) = delete;
  failing_call &operator=(const failing_call &) = delete;

  // How often it has failed.
  [[nodiscard]] std::size_t refused() const;

 private:
  c_call call_;
};

}  // namespace tarvel
