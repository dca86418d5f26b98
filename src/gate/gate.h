// The surveyed course: what gate mode makes of a walked track.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_track.h"

namespace tarvel {

struct gate {
  owned_text file;               // name of the gate file
  owned_array<gps_point> track;  // the walk; null when the file held a finished course
  std::uint32_t track_len = 0;
  mat4 matrix;                    // ECEF to local
  double theta = 0.0;             // speed-carve rotation, radians
  owned_array<vec3> pond;         // perimeter in local metres, closed, ended by (0, 0, 0); null when there is none
  std::array<vec3, 5> waypoints;  // the standstills 0 to 4 in local metres, as found
};

[[nodiscard]] inline std::span<gps_point> samples_of(gate &course) { return {course.track.get(), course.track_len}; }

}  // namespace tarvel
