// Writes each jump of a track into a file.
#pragma once

#include <span>

#include "split/part.h"
#include "split/stretches.h"
#include "support/error_slot.h"

namespace tarvel {

// Writes each descent into a file in the directory of the track. For a text track the file gets the bytes before the
// first sample's row, and those from the descent's first row to the first row after the descent; for a container, the
// descent's samples. Existing files are not changed. Fails with "file exists: %s", "failed to open file: %s", "failed
// to read file: %s", "failed to write file: %s", "malloc() failed" or a message of the container; the files written
// before are then removed.
void write_parts(const split_source &source, std::span<const stretch> stretches, error_slot *error);

}  // namespace tarvel
