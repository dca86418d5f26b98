// A gate survey: the walk, its standstills and the course.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "geo/vec3.h"
#include "support/memory.h"
#include "track/course.h"
#include "track/gps_point.h"

namespace tarvel {

struct gate {
  owned_text file;               // name of the gate file
  owned_array<gps_point> track;  // the walk; null when the file was a container
  std::uint32_t track_len = 0;
  tarvel::course course;
  std::array<vec3, 5> waypoints;  // the standstills 0 to 4 in local metres, before levelling
};

[[nodiscard]] inline std::span<gps_point> samples_of(gate &surveyed) {
  return {surveyed.track.get(), surveyed.track_len};
}
[[nodiscard]] inline std::span<const gps_point> samples_of(const gate &surveyed) {
  return {surveyed.track.get(), surveyed.track_len};
}

}  // namespace tarvel
