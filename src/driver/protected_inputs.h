// Inputs that are remembered, and moved aside before an output would destroy one.
#pragma once

#include <sys/stat.h>

#include "support/error_slot.h"

namespace tarvel {

// Remembers the file as an input of this run, by device and inode, before anything is written. Called for each
// track on the command line, since one mode writes before the next has read. A file that is not there is not an
// input. Nothing printed gets into the file from now on. Fails with "strdup() failed", or with "failed to open
// file: %s" when the lookup fails or standard output went to the file.
void protect_input(const char *path, error_slot *error);

// Remembers a file that is open. False when memory is short.
[[nodiscard]] bool remember_input(const char *path, const struct stat &status);

// Renames an input of this run that the name leads to: ".orig" is appended to its name, ".orig.2", ".orig.3" and so on
// when that is taken. False when it cannot be renamed, or when a lookup fails.
[[nodiscard]] bool set_aside_inputs(const char *path);

}  // namespace tarvel
