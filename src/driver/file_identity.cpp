#include "driver/file_identity.h"

#include <sys/stat.h>

#include <cerrno>

namespace tarvel {

namespace {

lookup lookup_result(int result) {
  if (result == 0) return lookup::there;
  const bool leads_nowhere = errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
  return leads_nowhere ? lookup::absent : lookup::failed;
}

}  // namespace

file_identity identity_of(const struct stat &status) { return {status.st_dev, status.st_ino}; }

lookup look_up(const char *path, struct stat &status) { return lookup_result(stat(path, &status)); }
lookup look_up_link(const char *path, struct stat &status) { return lookup_result(lstat(path, &status)); }

bool is_same_file(const char *path, const char *other_path, error_slot *error) {
  struct stat status;
  struct stat other_status;
  const lookup found = look_up(path, status);
  const lookup other_found = look_up(other_path, other_status);
  if (found == lookup::failed || other_found == lookup::failed) {
    *error = format_error("failed to open file: %s", found == lookup::failed ? path : other_path);
    return false;
  }
  return found == lookup::there && other_found == lookup::there && identity_of(status) == identity_of(other_status);
}

}  // namespace tarvel
