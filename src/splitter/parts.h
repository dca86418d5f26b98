// Writes each jump of a track into a file.
#pragma once

#include <span>

#include "split/part.h"
#include "split/stretches.h"
#include "support/error_slot.h"

namespace tarvel {

// Writes each descent, as write_part does, into a file of its own in the directory of the track. Existing files are not
// changed. Fails with "file exists: %s", "failed to open file: %s", "failed to read file: %s", "failed to write file:
// %s", "malloc() failed" or a message of write_part; the files written before are then removed. A signal that ends the
// program from a terminal takes effect between two files.
void write_parts(const split_source &source, std::span<const stretch> stretches, error_slot *error);

}  // namespace tarvel
