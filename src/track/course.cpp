#include "track/course.h"

#include <algorithm>

namespace tarvel {

bool append_pond_point(pond_outline &pond, const vec3 &point) {
  constexpr std::size_t first_capacity = 512;
  return try_append(pond.points, pond.count, pond.capacity, first_capacity, point);
}

std::span<const vec3> points_before_origin(const pond_outline &pond) {
  const std::span<const vec3> points = points_of(pond);
  const auto is_end = [](const vec3 &point) { return point.x == 0.0 && point.y == 0.0 && point.z == 0.0; };
  const auto end = std::find_if(points.begin(), points.end(), is_end);
  return points.first(static_cast<std::size_t>(end - points.begin()));
}

void cut_at_origin(pond_outline &pond) { pond.count = points_before_origin(pond).size(); }

}  // namespace tarvel
