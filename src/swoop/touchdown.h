// The place, time and speed of the touchdown.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills touchdown_time, touchdown_speed and touchdown_distance: from the time aloft (ms) after the entry gate when it
// is given and the gate was found, otherwise from the pilot's place of rest, or from the stop. Needs the entry gate's
// results, run.stop and run.bottom_of_turn. Fails with "touchdown time estimate not found" when no sample before the
// stop is later than that time.
void estimate_touchdown(swoop &run, std::uint32_t time_aloft, error_slot *error);

}  // namespace tarvel
