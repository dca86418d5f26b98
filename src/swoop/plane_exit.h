// Where the run begins: the exit from the aircraft and the descent into the pattern.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.plane_exit with the first sample of a fall that lasts, 0 when there is none. Needs pos_local and acc_local.
// Never fails. A fall has lasted at the first sample that elapsed() puts 1.5 s or more after its beginning, also where
// the difference of the times wraps. The mean of a fall is the sum of its samples in their order, divided by their
// number; where 1.5 s hold more than 512 samples, which no logger writes, the order is another, and a mean that lies
// within rounding of its threshold may fall on the other side of it.
void detect_plane_exit(swoop &run, error_slot *error);

// Fills run.pattern_entry with the first sample below 2,500 ft that follows one at or above it, searching from the
// exit. Needs pos_local. Fails with "could not detect pattern entry".
void detect_pattern_entry(swoop &run, error_slot *error);

}  // namespace tarvel
