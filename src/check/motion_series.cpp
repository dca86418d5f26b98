#include "check/motion_series.h"

#include <cmath>

#include "geo/angle.h"
#include "support/time.h"

namespace tarvel {

namespace {

constexpr double semi_major_axis = 6378137.0;  // WGS84, m
constexpr double eccentricity_squared = 0.0066943799901413165;

double folded_longitude(double difference) {
  if (difference > 180.0) return difference - 360.0;
  return difference < -180.0 ? difference + 360.0 : difference;
}

}  // namespace

local_plane local_plane_at(const vec3 &wgs84) {
  const double phi = radians_from_degrees(wgs84.x);
  const double w = std::sqrt(1.0 - eccentricity_squared * std::sin(phi) * std::sin(phi));
  const double meridian = semi_major_axis * (1.0 - eccentricity_squared) / (w * w * w) + wgs84.z;
  const double normal = semi_major_axis / w + wgs84.z;
  return {wgs84, radians_from_degrees(meridian), radians_from_degrees(normal * std::cos(phi))};
}

std::array<double, axis_count> to_plane(const local_plane &plane, const vec3 &wgs84) {
  return {(wgs84.x - plane.origin.x) * plane.north_metres,
          folded_longitude(wgs84.y - plane.origin.y) * plane.east_metres, plane.origin.z - wgs84.z};
}

vec3 from_plane(const local_plane &plane, const std::array<double, axis_count> &position) {
  return {plane.origin.x + position[axis_north] / plane.north_metres,
          plane.origin.y + position[axis_east] / plane.east_metres, plane.origin.z - position[axis_down]};
}

bool make_room(motion_series &series, std::size_t count) {
  series.count = count;
  if (!try_resize(series.times, count)) return false;
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    if (!try_resize(series.positions[axis], count) || !try_resize(series.velocities[axis], count)) return false;
  }
  return true;
}

bool series_of(std::span<const gps_point> samples, motion_series &series) {
  if (!make_room(series, samples.size())) return false;
  // Near the end of the track, where the scores are found.
  series.plane = local_plane_at(samples.back().pos_wgs84);
  for (std::size_t k = 0; k < samples.size(); ++k) {
    series.times[k] = static_cast<double>(elapsed(samples[0].time, samples[k].time)) / 1000.0;
    const std::array<double, axis_count> position = to_plane(series.plane, samples[k].pos_wgs84);
    const vec3 &velocity = samples[k].vel_ltp;
    const std::array<double, axis_count> velocities = {velocity.x, velocity.y, velocity.z};
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      series.positions[axis][k] = position[axis];
      series.velocities[axis][k] = velocities[axis];
    }
  }
  return true;
}

}  // namespace tarvel
