// Divides a track into stretches: each jump, from before the climb to some time after its stop, and the time between
// jumps.
//
// Every sample is in one stretch. Stretches are divided where the logger is at rest on the ground or was off: a jump
// begins with the last rest before the climb, and ends when the pilot rests after walking away from the stop. When the
// pilot stays near the stop, the jump ends with its recording or at the beginning of the next jump, since the analysis
// tests whether the pilot is within 75 ft of the stop until the end of the track.
#pragma once

#include <cstdint>
#include <span>

#include "support/error_slot.h"
#include "support/memory.h"
#include "swoop/swoop.h"
#include "track/gps_point.h"

namespace tarvel {

enum class stretch_kind {
  run,      // a descent with a dive below 1,000 ft
  descent,  // a descent without a dive: a straight landing, or one in the aircraft
  climb,    // more than 500 ft higher at its end, and not at rest there
  walk,     // on foot for a quarter of the time or more
  ground,
};

struct stretch {
  stretch_kind kind = stretch_kind::ground;
  sample_range samples;
  std::uint32_t number = 0;  // of a descent, from 1; 0 for other stretches
  std::uint32_t exit = 0;    // the first sample of a free fall; 0 when there is none
  double exit_height = 0.0;  // m above the end of the descent
  bool ends_in_the_air = false;
};

struct stretch_list {
  owned_array<stretch> stretches;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

[[nodiscard]] inline std::span<const stretch> stretches_of(const stretch_list &list) {
  return {list.stretches.get(), list.count};
}

[[nodiscard]] inline bool is_descent(const stretch &part) { return part.number != 0; }

// Finds the stretches in their order; none without samples. Fails with "realloc failed"; the list is then unchanged.
void find_stretches(std::span<const gps_point> samples, stretch_list &list, error_slot *error);

}  // namespace tarvel
