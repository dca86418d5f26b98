// Where a track comes down from the air, told by heights and speeds alone.
//
// A descent is a fall of 500 ft below the highest sample since the last landing, of which the vertical speeds know as
// well: indoors heights wander by hundreds of metres while the speeds stay near zero. It ends with the landing: the first
// sample slower than 10 mph from which on the height stays within 100 ft for 15 seconds. A logger that was switched off
// before that has landed when it was slow at the end; when it was not, the descent ends in the air.
#pragma once

#include <cstdint>
#include <span>

#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

// Samples by index.
struct descent {
  std::uint32_t highest = 0;  // the first of the highest samples
  std::uint32_t landing = 0;  // the last sample of the recording when it ended in the air
  bool has_landed = false;
};

struct descent_list {
  owned_array<descent> descents;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

// The descents in their order. Fails with "realloc failed" and leaves the list as it was.
void find_descents(std::span<const gps_point> samples, descent_list &list, error_slot *error);

// True when the logger was off, or moved elsewhere, between two neighbouring samples: more than a minute, a step back of
// the clock, farther than anything on the ground moves, or higher than an aircraft climbs.
[[nodiscard]] bool is_interrupted(const gps_point &before, const gps_point &after);

// m in plan, for some kilometres and away from the poles.
[[nodiscard]] double plan_distance(const gps_point &a, const gps_point &b);

// Slower than a pilot walks, in all three directions.
[[nodiscard]] bool is_at_rest(const gps_point &sample);

// Slower than anything flies.
[[nodiscard]] bool is_slow(const gps_point &sample);

}  // namespace tarvel
