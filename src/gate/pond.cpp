#include "gate/pond.h"

#include <utility>

#include "support/units.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

constexpr double near_feet = 5.0;   // at a mark, and between perimeter points
constexpr double away_feet = 50.0;  // farther from a mark the walker has left it

double feet_between(const vec3 &a, const vec3 &b) { return distance_2d(a, b) * feet_per_metre; }

// The sample after the last one near the mark before the walker left it, searched from sample i on. The number of
// samples when the walker did not leave it.
std::size_t find_departure(std::span<const gps_point> walk, std::size_t i, const vec3 &mark) {
  std::size_t last_near = walk.size();
  for (; i < walk.size(); ++i) {
    const double feet = feet_between(walk[i].pos_local, mark);
    if (feet < near_feet) last_near = i;
    if (feet >= away_feet && last_near != walk.size()) return last_near + 1;
  }
  return walk.size();
}

// Appends the perimeter points of one leg, from sample i to the first sample near the next mark, and returns that
// sample.
std::size_t append_leg(std::span<const gps_point> walk, std::size_t i, const vec3 &next_mark, pond_outline &pond,
                       error_slot *error) {
  const std::size_t first_of_leg = pond.count;
  for (; i < walk.size(); ++i) {
    const vec3 &position = walk[i].pos_local;
    if (feet_between(position, next_mark) < near_feet) return i;
    const bool is_first = pond.count == first_of_leg;
    if (!is_first && !(feet_between(pond.points[pond.count - 1], position) >= near_feet)) continue;
    if (!append_pond_point(pond, position)) {
      *error = "failed to realloc pond array";
      return i;
    }
  }
  *error = "no point near next waypoint";
  return i;
}

}  // namespace

void survey_pond(gate &surveyed, error_slot *error) {
  *error = nullptr;
  const std::span<gps_point> walk = samples_of(surveyed);
  derive_local(walk, surveyed.course.matrix);

  pond_outline pond;
  std::size_t i = 0;
  for (std::size_t leg = 0; leg + 1 < surveyed.waypoints.size(); ++leg) {
    i = find_departure(walk, i, surveyed.waypoints[leg]);
    if (i == walk.size()) {
      *error = "no point 50' from waypoint";
      return;
    }
    i = append_leg(walk, i, surveyed.waypoints[leg + 1], pond, error);
    if (*error) return;
  }
  if (pond.count == 0) return;
  if (!append_pond_point(pond, pond.points[0])) {
    *error = "failed to realloc pond array";
    return;
  }
  surveyed.course.pond = std::move(pond);
}

}  // namespace tarvel
