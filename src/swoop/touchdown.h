// Where and when the pilot touched down.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills touchdown_time, touchdown_speed and touchdown_distance: from a time aloft (ms) after the entry gate when both
// are there, otherwise from where the pilot came to rest, or the stop. Needs the entry gate's results, run.stop and
// run.bottom_of_turn. Fails with "touchdown time estimate not found" when the track has no sample after a time aloft.
void estimate_touchdown(swoop &run, std::uint32_t time_aloft, error_slot *error);

}  // namespace tarvel
