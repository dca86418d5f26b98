// The greatest speeds of a run.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.max_horz_speed (between rollout and stop), run.max_vert_speed and run.max_total_speed (between the top of
// the turn and the stop) with the index of the first sample of greatest speed, 0 when no speed is positive. Needs
// run.top_of_turn, run.rollout and run.stop. Never fails.
void detect_max_speeds(swoop &run, error_slot *error);

}  // namespace tarvel
