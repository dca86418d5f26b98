// The rollout: the end of the dive, up to level flight.
#pragma once

#include <cstdint>

#include "geo/vec3.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills run.rollout with the sample of greatest descent rate on the way into the last 100 ft above the stop. Needs
// run.top_of_turn and run.stop. Fails with "could not find rollout".
void detect_rollout(swoop &run, error_slot *error);

// Finds the bottom of a turn between two samples of the run, from the raw logger values: where the run first is within
// 1 m of its lowest point or first descends at 1.25 m/s or less, whichever is earlier. Stores the sample before it and
// the interpolated time; without either, the sample after first, or the track's last.
void find_bottom(const swoop &run, std::uint32_t first, std::uint32_t last, std::uint32_t &index, std::int64_t &time);

// Fills run.bottom_of_turn, bottom_time and the local position there. Needs run.rollout and run.stop. Never fails.
void detect_bottom_of_turn(swoop &run, error_slot *error);

// A value interpolated between the samples index and index + 1 at a time (ms). At the track's last sample, the value of
// that sample.
[[nodiscard]] vec3 position_at(const swoop &run, std::uint32_t index, std::int64_t time, vec3 gps_point::*position);

}  // namespace tarvel
