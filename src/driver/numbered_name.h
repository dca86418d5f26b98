// Finds a free name for a file in the directory of another one.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/memory.h"

namespace tarvel {

// Calls take(name) with "PATH.SUFFIX", "PATH.SUFFIX.2", "PATH.SUFFIX.3" and so on until it returns true, and returns
// that name. Null when it returns false with an errno other than EEXIST, and when memory is short.
template <typename taker>
[[nodiscard]] owned_text take_numbered_name(const char *path, const char *suffix, taker take) {
  const std::size_t room = std::strlen(path) + std::strlen(suffix) + sizeof "..4294967295";
  owned_text name;
  if (!try_resize(name, room)) return nullptr;
  std::snprintf(name.get(), room, "%s.%s", path, suffix);
  for (unsigned number = 2; number != 0; ++number) {
    if (take(name.get())) return name;
    if (errno != EEXIST) return nullptr;
    std::snprintf(name.get(), room, "%s.%s.%u", path, suffix, number);
  }
  return nullptr;  // GCOVR_EXCL_LINE: after four billion names
}

}  // namespace tarvel
