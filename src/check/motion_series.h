// Positions and velocities of a stretch of a track along three axes, in plain arrays: the input of the estimates of
// noise and lag, and of the smoother.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

enum axis_index : std::size_t { axis_north, axis_east, axis_down, axis_count };

// Factors for conversions between degrees and metres near one sample. Over the kilometre of a run the error of the
// plane is below the resolution of loggers.
struct local_plane {
  vec3 origin;                // WGS84
  double north_metres = 1.0;  // per degree
  double east_metres = 1.0;   // per degree
};

[[nodiscard]] local_plane local_plane_at(const vec3 &wgs84);

// Convert between a WGS84 position and its distances north, east and down from the origin, in metres. Across the
// antimeridian the longitude goes on beyond 180 degrees.
[[nodiscard]] std::array<double, axis_count> to_plane(const local_plane &plane, const vec3 &wgs84);
[[nodiscard]] vec3 from_plane(const local_plane &plane, const std::array<double, axis_count> &position);

struct motion_series {
  std::size_t count = 0;
  local_plane plane;
  owned_array<double> times;  // s since the first sample
  std::array<owned_array<double>, axis_count> positions;
  std::array<owned_array<double>, axis_count> velocities;
};

// Allocates memory for this many samples. False when memory is short.
[[nodiscard]] bool make_room(motion_series &series, std::size_t count);

// Fills the series from samples, of which there is at least one. False when memory is short.
[[nodiscard]] bool series_of(std::span<const gps_point> samples, motion_series &series);

[[nodiscard]] inline std::span<const double> times_of(const motion_series &series) {
  return {series.times.get(), series.count};
}

}  // namespace tarvel
