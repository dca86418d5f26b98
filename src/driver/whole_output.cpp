#include "driver/whole_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "driver/file_identity.h"
#include "driver/numbered_name.h"
#include "driver/protected_inputs.h"
#include "driver/standard_streams.h"

namespace tarvel {

namespace {

// Creates a new file in the target's directory; without a stream when memory is short for it. Never opens an existing
// file.
whole_output open_beside(owned_text target, mode_t permissions) {
  int descriptor = -1;
  owned_text name = take_numbered_name(target.get(), "new", [&](const char *free_name) {
    descriptor = open(free_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    return descriptor >= 0;
  });
  if (!name) return {};
  whole_output output;
  output.temporary.reset(name.release());
  output.target = std::move(target);
  output.file.reset(fdopen(descriptor, "wb"));
  if (!output.file) close(descriptor);
  return output;
}

// The permissions are set last, since changing the owner clears some of them.
bool copy_owner_and_permissions(const struct stat &old, int descriptor) {
  constexpr mode_t permissions = 07777;
  return fchown(descriptor, old.st_uid, old.st_gid) == 0 && fchmod(descriptor, old.st_mode & permissions) == 0;
}

// True when the file has an access control list, which a new file would not have.
bool has_access_list(const char *path) { return getxattr(path, "system.posix_acl_access", nullptr, 0) > 0; }

// Returns an output without a temporary file when it must be written in place.
whole_output open_replacement(const char *path) {
  struct stat old;
  if (look_up_link(path, old) == lookup::absent) {
    owned_text name = try_duplicate(path);
    return name ? open_beside(std::move(name), 0666) : whole_output();
  }
  // After a replacement, a name like /dev/stderr would still refer to the old file.
  if (look_up(path, old) != lookup::there || !S_ISREG(old.st_mode) || is_printed_to(old)) return {};
  // A file without write permission must not be replaced either.
  if (faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return {};
  owned_text target(realpath(path, nullptr));
  if (!target || has_access_list(path)) return {};
  // Only this user may open it before it has the old file's permissions.
  whole_output output = open_beside(std::move(target), 0600);
  if (output.file && !copy_owner_and_permissions(old, fileno(output.file.get()))) return {};
  return output;
}

bool flush_to_disk(std::FILE *file) { return std::fflush(file) == 0 && fsync(fileno(file)) == 0; }

void fail_writing(const char *path, error_slot *error) { *error = format_error("failed to write file: %s", path); }

// The causes of a failed rename onto a mount point or in an append-only directory.
bool refuses_replacement(int cause) { return cause == EBUSY || cause == EPERM || cause == EACCES; }

void write_in_place(const char *temporary, const char *path, error_slot *error) {
  const file_handle from = open_written_file(temporary);
  if (!from) return fail_writing(path, error);
  file_handle to = open_output(path, error);
  if (!to) return;
  copy_bytes(from.get(), to.get());
  if (std::ferror(from.get()) != 0) fail_writing(path, error);
  close_output(std::move(to), path, error);
}

}  // namespace

whole_output open_whole_output(const char *path, error_slot *error) {
  if (!set_aside_inputs(path)) {
    *error = format_error("failed to open file: %s", path);
    return {};
  }
  whole_output output = open_replacement(path);
  if (!output.temporary) {
    output.file = open_output(path, error);
  } else if (!output.file) {
    *error = format_error("failed to open file: %s", path);
  }
  return output;
}

void close_whole_output(whole_output output, const char *path, error_slot *error) {
  const bool is_stored = !output.temporary || flush_to_disk(output.file.get());
  close_output(std::move(output.file), path, error);
  if (*error || !output.temporary) return;
  if (!is_stored) return fail_writing(path, error);
  if (std::rename(output.temporary.get(), output.target.get()) == 0) {
    owned_text(output.temporary.release()).reset();
  } else if (refuses_replacement(errno)) {
    write_in_place(output.temporary.get(), path, error);
  } else {
    fail_writing(path, error);
  }
}

}  // namespace tarvel
