// A surveyed course: its frame, its speed-carve rotation and its pond.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "geo/mat4.h"
#include "geo/vec3.h"
#include "support/memory.h"

namespace tarvel {

// The walked path round the pond, in local metres. Its last point is a copy of its first.
struct pond_outline {
  owned_array<vec3> points;
  std::size_t count = 0;
  std::size_t capacity = 0;
};

[[nodiscard]] inline std::span<vec3> points_of(pond_outline &pond) { return {pond.points.get(), pond.count}; }
[[nodiscard]] inline std::span<const vec3> points_of(const pond_outline &pond) {
  return {pond.points.get(), pond.count};
}

struct course {
  mat4 matrix;                       // ECEF to local
  double theta = 0.0;                // speed-carve rotation, radians
  std::optional<pond_outline> pond;  // null: none in the course file; empty: a heading without points
};

// Appends a point, which may be an element of the outline itself. The capacity is 512 at first and is doubled as
// needed. False when memory is short; the outline is then unchanged.
[[nodiscard]] bool append_pond_point(pond_outline &pond, const vec3 &point);

// The points before the first one whose x, y and z are all 0 or -0. In course files and containers such a point ends
// the list: only the points before it are written, and cut_at_origin removes it and the points after it.
[[nodiscard]] std::span<const vec3> points_before_origin(const pond_outline &pond);
void cut_at_origin(pond_outline &pond);

}  // namespace tarvel
