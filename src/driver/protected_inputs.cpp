#include "driver/protected_inputs.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "driver/file_identity.h"
#include "driver/numbered_name.h"
#include "driver/standard_streams.h"
#include "support/memory.h"

namespace tarvel {

namespace {

struct protected_file {
  file_identity identity;
  char *path = nullptr;  // as the user typed it, or as an index names it
};

// The inputs of this call: up to two tracks, and course files.
struct protected_files {
  owned_array<protected_file> entries;
  std::size_t count = 0;
  std::size_t capacity = 0;

  protected_files() = default;
  protected_files(const protected_files &) = delete;
  protected_files &operator=(const protected_files &) = delete;
  ~protected_files() {
    for (std::size_t i = 0; i < count; ++i) owned_text(entries[i].path).reset();
  }
};

// One list for the process, since every output is compared with all inputs.
protected_files &inputs() {
  static protected_files files;
  return files;
}

const protected_file *find_input(const file_identity &identity) {
  const protected_files &files = inputs();
  for (std::size_t i = 0; i < files.count; ++i) {
    if (files.entries[i].identity == identity) return &files.entries[i];
  }
  return nullptr;
}

// Renames a file; fails when the new name exists.
bool rename_to_free_name(const char *from, const char *to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  // Some file systems do not support the flag.
  if (errno != EINVAL && errno != ENOSYS) return false;
  struct stat status;
  if (lstat(to, &status) == 0) {
    errno = EEXIST;
    return false;
  }
  return errno == ENOENT && std::rename(from, to) == 0;
}

bool set_aside(const char *path) {
  const auto rename_to = [path](const char *name) { return rename_to_free_name(path, name); };
  return take_numbered_name(path, "orig", rename_to) != nullptr;
}

// Renames the target of symbolic links: if only the link were renamed, the output would overwrite the target.
bool set_aside_target(const char *path) {
  const owned_text target(realpath(path, nullptr));
  return target && set_aside(target.get());
}

// Renames a link instead of its target only when the output has the name of that link.
bool set_aside_input(const protected_file &input, const char *output_path) {
  struct stat name;
  struct stat output_name;
  struct stat target;
  const lookup name_found = look_up_link(input.path, name);
  const lookup output_found = look_up_link(output_path, output_name);
  const lookup target_found = look_up(input.path, target);
  for (const lookup found : {name_found, output_found, target_found}) {
    if (found == lookup::failed) return false;
  }
  const bool through_link = name_found == lookup::there && S_ISLNK(name.st_mode);
  const bool is_that_link = output_found == lookup::there && identity_of(name) == identity_of(output_name);
  const bool is_elsewhere = target_found == lookup::absent || identity_of(target) != input.identity;
  if ((through_link && !is_that_link) || is_elsewhere) return set_aside_target(output_path);
  return set_aside(input.path);
}

}  // namespace

void protect_input(const char *path, error_slot *error) {
  struct stat status;
  const lookup found = look_up(path, status);
  if (found == lookup::absent) return;
  if (found == lookup::failed || !redirect_streams_from(status)) {
    *error = format_error("failed to open file: %s", path);
  } else if (!add_input(path, status)) {
    *error = "strdup() failed";
  }
}

bool add_input(const char *path, const struct stat &status) {
  // Only regular files can be overwritten.
  if (!S_ISREG(status.st_mode)) return true;
  const file_identity identity = identity_of(status);
  if (find_input(identity) != nullptr) return true;
  owned_text copy = try_duplicate(path);
  if (!copy) return false;
  protected_files &files = inputs();
  if (!try_append(files.entries, files.count, files.capacity, 8, {identity, copy.get()})) return false;
  static_cast<void>(copy.release());  // now owned by the list
  return true;
}

bool set_aside_inputs(const char *path) {
  // The second round is for an input with two links: after its own name was changed, the output's name still refers to
  // it.
  for (int round = 0;; ++round) {
    struct stat status;
    const lookup found = look_up(path, status);
    if (found != lookup::there) return found == lookup::absent;
    const protected_file *const input = find_input(identity_of(status));
    if (input == nullptr) return true;
    if (round == 2) return false;  // GCOVR_EXCL_LINE: both names have been renamed by then
    if (!(round == 0 ? set_aside_input(*input, path) : set_aside_target(path))) return false;
  }
}

}  // namespace tarvel
