#include "driver/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/memory.h"

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

bool is_standard_stream(int descriptor, const struct stat &status) {
  struct stat stream;
  return S_ISREG(status.st_mode) && fstat(descriptor, &stream) == 0 && identity_of(stream) == identity_of(status);
}

// Not even a message may land in an input or behind a report.
void print_elsewhere(const struct stat &file) {
  const bool is_everywhere = is_standard_stream(STDERR_FILENO, file);
  const int elsewhere = is_everywhere ? open("/dev/null", O_WRONLY | O_CLOEXEC) : STDERR_FILENO;
  if (dup2(elsewhere, STDOUT_FILENO) < 0) close(STDOUT_FILENO);
}

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
  return false;  // GCOVR_EXCL_LINE: after four billion names that are all taken
}

// The name behind every symbolic link: renaming the link alone would leave the samples in the output's way.
bool set_aside_target(const char *path) {
  const owned_text target(realpath(path, nullptr));
  return target && set_aside(target.get());
}

enum class lookup { there, absent, failed };

lookup lookup_result(int result) {
  if (result == 0) return lookup::there;
  const bool leads_nowhere = errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
  return leads_nowhere ? lookup::absent : lookup::failed;
}

// A name whose lookup failed may lead to anything, an input included.
lookup look_up(const char *path, struct stat &status) { return lookup_result(stat(path, &status)); }
lookup look_up_link(const char *path, struct stat &status) { return lookup_result(lstat(path, &status)); }

// A link may be renamed in place of its target only if the output has that very link's name.
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
  const bool is_elsewhere = target_found == lookup::absent || !(identity_of(target) == input.identity);
  if ((through_link && !is_that_link) || is_elsewhere) return set_aside_target(output_path);
  return set_aside(input.path);
}

// False when an input is in the way and cannot be moved, or what is printed is, or when nobody can tell.
bool make_way(const char *path, printing rest) {
  // The second round is for a file of two names: after the input's own name the output's still leads to it.
  for (int round = 0;; ++round) {
    struct stat status;
    const lookup found = look_up(path, status);
    if (found != lookup::there) return found == lookup::absent;
    if (rest == printing::goes_on && is_standard_stream(STDOUT_FILENO, status)) return false;
    const protected_file *const input = find_input(identity_of(status));
    if (input == nullptr) return true;
    if (round == 2) return false;
    if (!(round == 0 ? set_aside_input(*input, path) : set_aside_target(path))) return false;
  }
}

// Opened with O_NONBLOCK, since a FIFO whose other end is missing would hold the program for ever, and then set to
// wait for its bytes.
file_handle open_stream(const char *path, int flags, const char *mode) {
  const int descriptor = open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  file_handle file(fcntl(descriptor, F_SETFL, 0) == 0 ? fdopen(descriptor, mode) : nullptr);
  if (!file) close(descriptor);
  return file;
}

// Null for a FIFO as well.
file_handle open_for_reading(const char *path, struct stat &status) {
  file_handle file = open_stream(path, O_RDONLY, "rb");
  if (!file || fstat(fileno(file.get()), &status) != 0 || S_ISFIFO(status.st_mode)) return nullptr;
  return file;
}

constexpr const char *open_failure = "failed to open file: ";
constexpr const char *read_failure = "failed to read file: ";

void fail_opening(const char *path, error_slot *error) { *error = format_error("%s%s", open_failure, path); }

}  // namespace

void protect_input(const char *path, error_slot *error) {
  struct stat status;
  const lookup found = look_up(path, status);
  if (found == lookup::failed) return fail_opening(path, error);
  if (found == lookup::there && is_standard_stream(STDOUT_FILENO, status)) {
    print_elsewhere(status);
    return fail_opening(path, error);
  }
  if (found == lookup::there && !remember(path, status)) *error = "strdup() failed";
}

file_handle open_input(const char *path, error_slot *error) {
  struct stat status;
  file_handle file = open_for_reading(path, status);
  if (file && is_standard_stream(STDOUT_FILENO, status)) {
    print_elsewhere(status);
    file.reset();
  }
  if (!file) {
    fail_opening(path, error);
  } else if (!remember(path, status)) {
    *error = "strdup() failed";
    file.reset();
  }
  return file;
}

file_handle open_own_file(const char *path) {
  struct stat status;
  file_handle file = open_for_reading(path, status);
  if (file && S_ISCHR(status.st_mode)) file.reset();
  return file;
}

void blame_input(std::FILE *stream, const char *path, error_slot *error) {
  struct stat status;
  const bool is_folder = fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode);
  if (std::ferror(stream) != 0 && !is_folder) *error = format_error("%s%s", read_failure, path);
}

bool is_unread_input(const char *path) {
  struct stat status;
  const lookup found = look_up(path, status);
  return found == lookup::failed || (found == lookup::there && S_ISREG(status.st_mode));
}

bool is_file_failure(error_slot message) {
  if (message == nullptr) return false;
  const std::string_view words = message;
  return words.starts_with(open_failure) || words.starts_with(read_failure);
}

file_handle open_output(const char *path, error_slot *error, printing rest) {
  file_handle file(make_way(path, rest) ? open_stream(path, O_WRONLY | O_CREAT | O_TRUNC, "wb") : nullptr);
  if (!file) fail_opening(path, error);
  return file;
}

void stop_printing_to(const char *path) {
  struct stat status;
  if (look_up(path, status) == lookup::there && is_standard_stream(STDOUT_FILENO, status)) print_elsewhere(status);
}

void close_output(file_handle file, const char *path, error_slot *error) {
  const bool had_error = std::ferror(file.get()) != 0;
  const bool is_closed = std::fclose(file.release()) == 0;
  if (*error == nullptr && (had_error || !is_closed)) *error = format_error("failed to write file: %s", path);
}

void empty_output(const char *path) {
  // Where even that fails, there is nothing more to be done.
  [[maybe_unused]] const int result = truncate(path, 0);
}

bool is_same_file(const char *path, const char *other_path, error_slot *error) {
  struct stat status;
  struct stat other_status;
  const lookup found = look_up(path, status);
  const lookup other_found = look_up(other_path, other_status);
  if (found == lookup::failed || other_found == lookup::failed) {
    fail_opening(found == lookup::failed ? path : other_path, error);
    return false;
  }
  return found == lookup::there && other_found == lookup::there && identity_of(status) == identity_of(other_status);
}

}  // namespace tarvel
