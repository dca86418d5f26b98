// An output that appears whole or not at all.
//
// Protects against a disk that fills up, a program that is killed, a second program that writes the same file, and a
// reader in the middle of it: the bytes go to a temporary file in the output's directory, which takes the output's name
// once they are on the disk. Until then the old file is there, unchanged.
//
// The new file has the old one's owner, group and permissions, and takes the place of what a symbolic link leads to;
// further hard links to the old file keep the old bytes. A program that is killed leaves the temporary file, NAME.new
// or NAME.new.2 and so on; no call reads it.
//
// Written in place, without this protection: a device or pipe; a link that leads nowhere yet; a file that standard
// error goes to; a file with an access control list; a file whose directory takes no new file, or whose owner or group
// a new file cannot have. In place, too, but only once all bytes are in the temporary file: a file that cannot be
// replaced, such as a mount point (a container's matrix.txt) or a file in an append-only directory, where the temporary
// file stays.
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

// Leaving the scope removes what has not been closed by close_whole_output.
struct whole_output {
  file_handle file;                               // null when it could not be opened
  owned_text target;                              // the name behind every symbolic link; null when written in place
  std::unique_ptr<char, file_remover> temporary;  // null when written in place
};

// Opens an output as open_output does, with the same message.
[[nodiscard]] whole_output open_whole_output(const char *path, error_slot *error);

// Closes it and puts it in its place, unless the slot holds a message already or a write failed, which fails with
// "failed to write file: %s".
void close_whole_output(whole_output output, const char *path, error_slot *error);

}  // namespace tarvel
