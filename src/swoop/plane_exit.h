// The beginning of the run: the exit from the aircraft and the descent into the pattern.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.plane_exit with the first sample of a fall that lasts, 0 when there is none. Needs pos_local and acc_local.
// Never fails. A fall has lasted when a sample is 1.5 s or more after its beginning, as computed by elapsed() even
// where that wraps. The accelerations of a fall are added in file order; with more than 512 samples in 1.5 s, which no
// logger writes, they are added in another order, so that a mean very close to its threshold may be rounded to the
// other side.
void detect_plane_exit(swoop &run, error_slot *error);

// Fills run.pattern_entry with the first sample below 2,500 ft that follows one at or above it, searching from the
// exit. Needs pos_local. Fails with "could not detect pattern entry".
void detect_pattern_entry(swoop &run, error_slot *error);

}  // namespace tarvel
