// A surveyed course: its frame, its carve and its pond, as the survey finds them and runs are flown over them.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "geo/mat4.h"
#include "geo/vec3.h"
#include "support/memory.h"

namespace tarvel {

// The walked path round the pond, in local metres; closed by a copy of its first point.
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
  std::optional<pond_outline> pond;  // null: not in the course file; empty: a heading there without points
};

// Makes room for 512 points, then for twice as many, and appends one, which may be one of the outline's own. False when
// memory is short: the outline is as it was.
[[nodiscard]] bool append_pond_point(pond_outline &pond, const vec3 &point);

// The points before the first whose x, y and z are all 0, with which the lists of the course file and of the container
// end: a file is written with them alone, and what it lists behind them is cut off. Minus zero counts as 0.
[[nodiscard]] std::span<const vec3> points_before_origin(const pond_outline &pond);
void cut_at_origin(pond_outline &pond);

}  // namespace tarvel
