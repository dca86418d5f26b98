// What the program settles with the system before it touches a file.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// Gives the numbers 0 to 2 to an empty, unwritable file where the caller has closed them. Otherwise an output would
// get the number of standard error, and what the font library says there would land in it. Fails with "failed to open
// file: /dev/null".
void hold_standard_streams(error_slot *error);

// Makes a write to a pipe without a reader, or beyond the permitted size of a file, fail like any other instead of
// ending the program by a signal.
void take_signals_as_failed_writes();

// Settles the time zone for the whole run. Fails with "failed to read time zone: %s" when its file is there but cannot
// be read, for which the C library, without a word, takes universal time. A zone that is not there stays universal
// time.
void load_time_zone(error_slot *error);

}  // namespace tarvel
