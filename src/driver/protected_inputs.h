// A list of the inputs, which are renamed before an output would overwrite them.
#pragma once

#include <sys/stat.h>

#include "support/error_slot.h"

namespace tarvel {

// Adds the file to the inputs of this call, by device and inode. Call it for each track on the command line before
// anything is written, since gate mode writes files before swoop mode reads its track. A file that does not exist is
// ignored. A standard stream that goes to the file is redirected. Fails with "strdup() failed", or with "failed to open
// file: %s" when the lookup fails or standard output went to the file.
void protect_input(const char *path, error_slot *error);

// Adds an open file to the inputs. False when memory is short.
[[nodiscard]] bool add_input(const char *path, const struct stat &status);

// When the name refers to an input of this call, renames the input: ".orig" is appended to its name, or ".orig.2",
// ".orig.3" and so on when that name exists. False when it cannot be renamed, or when a lookup fails.
[[nodiscard]] bool set_aside_inputs(const char *path);

}  // namespace tarvel
