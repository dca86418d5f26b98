// Ponds for tests.
#pragma once

#include <cstdlib>
#include <vector>

#include "track/course.h"

namespace tarvel {

// The outline through these points.
[[nodiscard]] inline pond_outline pond_of(const std::vector<vec3> &points) {
  pond_outline pond;
  for (const vec3 &point : points) {
    if (!append_pond_point(pond, point)) std::abort();
  }
  return pond;
}

// A course with this turn of its gate, in radians, and a pond through these points.
[[nodiscard]] inline course course_with(double theta, const std::vector<vec3> &pond) {
  course surveyed;
  surveyed.theta = theta;
  surveyed.pond = pond_of(pond);
  return surveyed;
}

}  // namespace tarvel
