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

// A new file beside that one, without a stream when there is no memory for it. Existing files are left alone.
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

// The permissions come last, since a new owner takes some of them away.
bool copy_rights(const struct stat &old, int descriptor) {
  constexpr mode_t permissions = 07777;
  return fchown(descriptor, old.st_uid, old.st_gid) == 0 && fchmod(descriptor, old.st_mode & permissions) == 0;
}

// Of more users and groups than the permissions name. A new file would not have it.
bool has_access_list(const char *path) { return getxattr(path, "system.posix_acl_access", nullptr, 0) > 0; }

// Without a temporary file when the output must be written in place.
whole_output open_replacement(const char *path) {
  struct stat old;
  if (look_up_link(path, old) == lookup::absent) {
    owned_text name = try_duplicate(path);
    return name ? open_beside(std::move(name), 0666) : whole_output();
  }
  // A name like /dev/stderr would go on leading to the old file.
  if (look_up(path, old) != lookup::there || !S_ISREG(old.st_mode) || is_printed_to(old)) return {};
  // A file that may not be written may not be replaced either.
  if (faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return {};
  owned_text target(realpath(path, nullptr));
  if (!target || has_access_list(path)) return {};
  // Nobody else may open it before it has the old one's permissions.
  whole_output output = open_beside(std::move(target), 0600);
  if (output.file && !copy_rights(old, fileno(output.file.get()))) return {};
  return output;
}

bool flush_to_disk(std::FILE *file) { return std::fflush(file) == 0 && fsync(fileno(file)) == 0; }

void fail_writing(const char *path, error_slot *error) { *error = format_error("failed to write file: %s", path); }

// A mount point is busy, and an append-only folder lets no file change its name.
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
