// The rollout: from the end of the dive to level flight.
#pragma once

#include <cstdint>

#include "geo/vec3.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.rollout with the sample of greatest descent rate on the way into the last 100 ft above the stop. Needs
// run.top_of_turn and run.stop. Fails with "could not find rollout".
void detect_rollout(swoop &run, error_slot *error);

// The bottom of a turn between two samples of the run, on the raw logger values: where it first comes within 1 m of its
// lowest point or first descends at 1.25 m/s or less, whichever is earlier. Gives the sample before it and the
// interpolated time; without either, the sample after first, but never one past the track.
void find_bottom(const swoop &run, std::uint32_t first, std::uint32_t last, std::uint32_t &index, std::int64_t &time);

// Fills run.bottom_of_turn, bottom_time and the local position there. Needs run.rollout and run.stop. Never fails.
void detect_bottom_of_turn(swoop &run, error_slot *error);

// A quantity of the samples index and index + 1, given for both, at a time between them (ms); at the track's last
// sample there is no next, and the value stays.
[[nodiscard]] vec3 position_at(const swoop &run, std::uint32_t index, std::int64_t time, vec3 gps_point::*position);

}  // namespace tarvel
