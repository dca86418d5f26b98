// The final turn: its start and its angle.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// The first sample with the greatest descent rate below 1,000 ft, from the pattern entry on. 0, with "could not detect
// dive", when none descends.
[[nodiscard]] std::uint32_t find_dive(const swoop &run, error_slot *error);

// Fills run.top_of_turn, searching back from the dive. Needs run.pattern_entry, heading and acc_local. Fails with
// "could not detect dive".
void detect_top_of_turn(swoop &run, error_slot *error);

// Fills run.turn_degrees with the turn from the top to the bottom, positive to the right. Steps of 360 degrees or more
// to the right, and NaN, are left out. Never fails.
void sum_turn_degrees(swoop &run, error_slot *error);

}  // namespace tarvel
