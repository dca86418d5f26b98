// The stretches of a track: each jump with its way to the exit and some time after its stop, and what lies between them.
//
// Every sample is in one stretch. A cut lies on the ground while the logger stands still, or where it was off: a jump begins
// with the last rest before the climb, and ends when the pilot has rested after walking away from the stop. What the
// analysis looks at last of a run is whether the pilot was within 75 ft of the stop to the end of the track; so the end of a
// jump whose pilot stays near is that of its recording, or the beginning of the next jump.
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
  descent,  // a descent without one: a straight landing, or one with the aircraft
  climb,    // the track leaves it in the air, and not downward
  walk,     // on foot for a quarter of the time or more
  ground,
};

struct stretch {
  stretch_kind kind = stretch_kind::ground;
  sample_range samples;
  std::uint32_t number = 0;  // of a descent, from 1; 0 for the others
  std::uint32_t exit = 0;    // the sample at which a descent begins with a fall, 0 when there is none
  double exit_height = 0.0;  // m above where the descent ended
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

// The stretches in their order; none for no samples. Fails with "realloc failed" and leaves the list as it was.
void find_stretches(std::span<const gps_point> samples, stretch_list &list, error_slot *error);

}  // namespace tarvel
