// An output that is replaced as a whole.
//
// The bytes are written to a temporary file in the output's directory, which is renamed to the output's name once they
// are on the disk. Until then the old file is unchanged. This protects the output when the disk is full, when the
// program is killed, when two programs write it, and when another program reads it meanwhile.
//
// The new file has the old one's owner, group and permissions. When the name is a symbolic link, its target is
// replaced. Other hard links to the old file keep the old bytes. A program that is killed leaves the temporary file,
// NAME.new or NAME.new.2 and so on; no later call reads it.
//
// These are written in place, without this protection: a device or pipe; a dangling symbolic link; a file that standard
// error goes to; a file with an access control list; a file in a directory that no file can be created in; a file whose
// owner or group a new file cannot be given. A file that cannot be replaced, such as a mount point or a file in an
// append-only directory, is also written in place, after all bytes are in the temporary file; an append-only directory
// keeps the temporary file.
#pragma once

#include <unistd.h>

#include <memory>

#include "driver/file_handle.h"
#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

struct file_remover {
  void operator()(char *path) const noexcept {
    unlink(path);
    owned_text(path).reset();
  }
};

// The destructor removes the temporary file unless close_whole_output has renamed it.
struct whole_output {
  file_handle file;                               // null when it could not be opened
  owned_text target;                              // the name after following symbolic links; null when written in place
  std::unique_ptr<char, file_remover> temporary;  // null when written in place
};

// Opens an output as open_output does, with the same message.
[[nodiscard]] whole_output open_whole_output(const char *path, error_slot *error);

// Closes the file and renames it to the output's name, unless the slot already holds a message. Fails with "failed to
// write file: %s" when a write has failed.
void close_whole_output(whole_output output, const char *path, error_slot *error);

}  // namespace tarvel
