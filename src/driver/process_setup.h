// What the program sets up in its process before it touches a file.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// Opens /dev/null on each of the descriptors 0 to 2 that is closed. Otherwise an output could be opened on descriptor 2,
// and what the font library prints to standard error would land in it. Fails with "failed to open file: /dev/null".
void open_standard_streams(error_slot *error);

// Makes a write to a pipe without a reader, or beyond the permitted size of a file, fail like any other write instead of
// ending the program by a signal.
void ignore_write_signals();

// Loads the time zone once for the whole call. Fails with "failed to read time zone: %s" when its file is there but
// cannot be read; the C library would silently use UTC. A zone that is not there means UTC.
void load_time_zone(error_slot *error);

}  // namespace tarvel
