// Runs some detectors of the analysis on one jump without a course. Heights are above the jump's last sample.
#pragma once

#include <cstdint>
#include <span>

#include "support/error_slot.h"
#include "track/gps_point.h"

namespace tarvel {

// Samples are indices into those of the jump; 0 means not found.
struct jump_phases {
  std::uint32_t exit = 0;
  double exit_height = 0.0;  // m
  std::uint32_t stop = 0;
  bool has_dive = false;  // below 1,000 ft it descends faster than in straight flight, and then slowly
};

// Finds the phases of a jump whose last sample is at the height of the ground. Fails with "realloc failed".
[[nodiscard]] jump_phases find_jump_phases(std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
