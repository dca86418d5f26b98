// Sets up the process before the first file is opened.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// Opens /dev/null on each of the descriptors 0 to 2 that is closed. Otherwise an output could be opened on descriptor
// 2, and messages of the font library would be written into it. Fails with "failed to open file: /dev/null".
void open_standard_streams(error_slot *error);

// Ignores SIGPIPE and SIGXFSZ, so that a write to a pipe without a reader, or beyond the limit on file sizes, fails
// instead of ending the program.
void ignore_write_signals();

// Loads the time zone for the whole call. A zone without a file means UTC. Fails with "failed to read time zone: %s"
// when the file exists but cannot be read; the C library would silently use UTC.
void load_time_zone(error_slot *error);

}  // namespace tarvel
