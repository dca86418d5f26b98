// Which file a name leads to.
#pragma once

#include <sys/stat.h>

#include "support/error_slot.h"

namespace tarvel {

// The file itself, whatever its names: a rename or a second link changes neither number.
struct file_identity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const file_identity &) const = default;
};

[[nodiscard]] file_identity identity_of(const struct stat &status);

// A name whose lookup failed may lead to anything, an input included.
enum class lookup { there, absent, failed };

// stat and lstat. The status is set only when the file is there.
[[nodiscard]] lookup look_up(const char *path, struct stat &status);
[[nodiscard]] lookup look_up_link(const char *path, struct stat &status);

// True when both names lead to one existing file. Fails with "failed to open file: %s" when a lookup fails.
[[nodiscard]] bool is_same_file(const char *path, const char *other_path, error_slot *error);

}  // namespace tarvel
