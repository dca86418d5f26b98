// Identifies files by device and inode.
#pragma once

#include <sys/stat.h>

#include "support/error_slot.h"

namespace tarvel {

// Two names with equal identities refer to the same file. Renaming it does not change its identity.
struct file_identity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const file_identity &) const = default;
};

[[nodiscard]] file_identity identity_of(const struct stat &status);

// failed: an error other than a missing file. The name may then refer to any file, also to an input.
enum class lookup { there, absent, failed };

// stat and lstat. status is set only when the result is lookup::there.
[[nodiscard]] lookup look_up(const char *path, struct stat &status);
[[nodiscard]] lookup look_up_link(const char *path, struct stat &status);

// True when both names refer to the same existing file. Fails with "failed to open file: %s" when a lookup fails.
[[nodiscard]] bool is_same_file(const char *path, const char *other_path, error_slot *error);

}  // namespace tarvel
