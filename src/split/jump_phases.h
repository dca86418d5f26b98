// What the detectors of the analysis find in one jump when the course is not known: heights are above its landing.
#pragma once

#include <cstdint>
#include <span>

#include "support/error_slot.h"
#include "track/gps_point.h"

namespace tarvel {

// Samples by index into those of the jump; 0 for what was not found.
struct jump_phases {
  std::uint32_t exit = 0;
  double exit_height = 0.0;  // m
  std::uint32_t stop = 0;
  bool has_dive = false;  // below 1,000 ft faster than a canopy in straight flight, and level again
};

// The last sample gives the height of the ground. Fails with "realloc failed".
[[nodiscard]] jump_phases find_jump_phases(std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
