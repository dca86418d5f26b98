#include "driver/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "driver/memory.h"

namespace tarvel {

namespace {

// The file itself, whatever its names: a rename or a second link changes neither number.
struct file_identity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const file_identity &) const = default;
};

struct protected_file {
  file_identity identity;
  char *path = nullptr;  // as the user typed it, or as an index names it
};

// Two tracks and a chain of course files.
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

// Process-wide, as the files themselves are: each output asks for all inputs of the run, whoever read them.
protected_files &inputs() {
  static protected_files files;
  return files;
}

file_identity identity_of(const struct stat &status) { return {status.st_dev, status.st_ino}; }

bool remember(const char *path, const struct stat &status) {
  // A device or directory loses nothing when it is written to.
  if (!S_ISREG(status.st_mode)) return true;
  protected_files &files = inputs();
  const file_identity identity = identity_of(status);
  for (std::size_t i = 0; i < files.count; ++i) {
    if (files.entries[i].identity == identity) return true;
  }
  if (files.count == files.capacity) {
    const std::size_t capacity = files.capacity == 0 ? 8 : 2 * files.capacity;
    if (!try_resize(files.entries, capacity)) return false;
    files.capacity = capacity;
  }
  owned_text copy = try_duplicate(path);
  if (!copy) return false;
  files.entries[files.count] = {identity, copy.release()};
  ++files.count;
  return true;
}

const protected_file *find_input(const file_identity &identity) {
  const protected_files &files = inputs();
  for (std::size_t i = 0; i < files.count; ++i) {
    if (files.entries[i].identity == identity) return &files.entries[i];
  }
  return nullptr;
}

// Renames without ever replacing a file that has the new name.
bool rename_to_free_name(const char *from, const char *to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  // Some file systems do not know the flag.
  if (errno != EINVAL && errno != ENOSYS) return false;
  struct stat status;
  if (lstat(to, &status) == 0) {
    errno = EEXIST;
    return false;
  }
  return errno == ENOENT && std::rename(from, to) == 0;
}

bool set_aside(const char *path) {
  const std::size_t room = std::strlen(path) + sizeof ".orig.4294967295";
  owned_text aside;
  if (!try_resize(aside, room)) return false;
  for (unsigned number = 1; number != 0; ++number) {
    if (number == 1) {
      std::snprintf(aside.get(), room, "%s.orig", path);
    } else {
      std::snprintf(aside.get(), room, "%s.orig.%u", path, number);
    }
    if (rename_to_free_name(path, aside.get())) return true;
    if (errno != EEXIST) return false;
  }
  return false;
}

// The name behind every symbolic link: renaming the link alone would leave the samples in the output's way.
bool set_aside_target(const char *path) {
  const owned_text target(realpath(path, nullptr));
  return target && set_aside(target.get());
}

bool is_symbolic_link(const char *path, struct stat *link_status) {
  return lstat(path, link_status) == 0 && S_ISLNK(link_status->st_mode);
}

// A link may be renamed in place of its target only if the output has that very link's name.
bool set_aside_input(const protected_file &input, const char *output_path) {
  struct stat link;
  struct stat output_link;
  const bool through_link = is_symbolic_link(input.path, &link);
  if (through_link && !(is_symbolic_link(output_path, &output_link) && identity_of(link) == identity_of(output_link))) {
    return set_aside_target(output_path);
  }
  struct stat status;
  if (stat(input.path, &status) != 0 || !(identity_of(status) == input.identity)) {
    return set_aside_target(output_path);
  }
  return set_aside(input.path);
}

// False when an input is in the way and cannot be moved.
bool make_way(const char *path) {
  struct stat status;
  // The second round is for a file of two names: after the input's own name the output's still leads to it.
  for (int round = 0; round < 2; ++round) {
    if (stat(path, &status) != 0) return true;
    const protected_file *const input = find_input(identity_of(status));
    if (input == nullptr) return true;
    if (!(round == 0 ? set_aside_input(*input, path) : set_aside_target(path))) return false;
  }
  return stat(path, &status) != 0 || find_input(identity_of(status)) == nullptr;
}

}  // namespace

void protect_input(const char *path, error_slot *error) {
  struct stat status;
  if (stat(path, &status) != 0) return;
  if (!remember(path, status)) *error = "strdup() failed";
}

file_handle open_input(const char *path, error_slot *error) {
  // Without O_NONBLOCK a FIFO that nobody writes to would hold the program for ever.
  const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    *error = format_error("failed to open file: %s", path);
    return nullptr;
  }
  struct stat status;
  const bool is_readable =
      fstat(descriptor, &status) == 0 && !S_ISFIFO(status.st_mode) && fcntl(descriptor, F_SETFL, 0) == 0;
  file_handle file(is_readable ? fdopen(descriptor, "rb") : nullptr);
  if (!file) {
    close(descriptor);
    *error = format_error("failed to open file: %s", path);
    return nullptr;
  }
  if (!remember(path, status)) {
    *error = "strdup() failed";
    return nullptr;
  }
  return file;
}

file_handle open_output(const char *path, error_slot *error) {
  file_handle file(make_way(path) ? std::fopen(path, "wb") : nullptr);
  if (!file) *error = format_error("failed to open file: %s", path);
  return file;
}

void close_output(file_handle file, const char *path, error_slot *error) {
  const bool had_error = std::ferror(file.get()) != 0;
  const bool is_closed = std::fclose(file.release()) == 0;
  if (*error == nullptr && (had_error || !is_closed)) *error = format_error("failed to write file: %s", path);
}

bool is_same_file(const char *path, const char *other_path) {
  struct stat status;
  struct stat other_status;
  return stat(path, &status) == 0 && stat(other_path, &other_status) == 0 &&
         identity_of(status) == identity_of(other_status);
}

}  // namespace tarvel
