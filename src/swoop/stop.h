// The end of the motion after the swoop.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.stop. Needs run.pattern_entry, pos_local, vel_local and heading. Fails with "could not detect dive", "could
// not determine swoop heading" or "did not detect end of motion after swoop".
void detect_stop(swoop &run, error_slot *error);

}  // namespace tarvel
