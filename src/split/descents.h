// Finds the descents in a track by heights and speeds alone.
//
// A descent is a fall of 500 ft below the highest sample since the last landing. The vertical speeds must confirm it,
// since indoors the heights drift by hundreds of metres while the speeds stay near zero. The descent ends with the
// landing: the first sample slower than 10 mph after which the height stays within 100 ft for 15 seconds. When the
// logger was switched off earlier, the descent ends with a landing if the last samples were slow, otherwise in the air.
#pragma once

#include <cstdint>
#include <span>

#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

// Fields are indices of samples.
struct descent {
  std::uint32_t highest = 0;  // the first of the highest samples
  std::uint32_t landing = 0;  // the last sample of the recording when the descent ended in the air
  bool has_landed = false;
};

struct descent_list {
  owned_array<descent> descents;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

// Finds the descents in their order. Fails with "realloc failed"; the list is then unchanged.
void find_descents(std::span<const gps_point> samples, descent_list &list, error_slot *error);

// True when the clock stepped back by more than a minute. Rows in the wrong order are less apart.
[[nodiscard]] bool is_clock_set_back(const gps_point &before, const gps_point &after);

// True when the logger was off or carried to another place between two consecutive samples: more than a minute passed,
// the clock was set back, the position moved faster than vehicles on the ground, or the height rose faster than an
// aircraft climbs.
[[nodiscard]] bool is_interrupted(const gps_point &before, const gps_point &after);

// The distance in plan, m. Accurate up to some kilometres, away from the poles.
[[nodiscard]] double plan_distance(const gps_point &a, const gps_point &b);

// True when the speed in space is less than 2 mph, slower than walking.
[[nodiscard]] bool is_at_rest(const gps_point &sample);

// True when the speed in space is less than 10 mph, slower than flying.
[[nodiscard]] bool is_slow(const gps_point &sample);

}  // namespace tarvel
