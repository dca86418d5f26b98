// Vectors of two and three components: positions and velocities in WGS84, ECEF and local axes.
#pragma once

namespace tarvel {

// As a WGS84 position: latitude (deg), longitude (deg), height (m). As an ECEF or local position: metres.
// As a velocity: m/s; in the local tangent plane north, east, down.
struct vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

struct vec2 {
  double x = 0.0;
  double y = 0.0;
};

// b - a: the vector from a to b.
[[nodiscard]] vec3 vec3_sub(const vec3 &a, const vec3 &b);
[[nodiscard]] vec3 vec3_cross(const vec3 &a, const vec3 &b);
[[nodiscard]] double vec3_length(const vec3 &v);
// The position in plan, without z.
[[nodiscard]] vec2 vec3_xy(const vec3 &v);
[[nodiscard]] double distance_3d(const vec3 &a, const vec3 &b);
// The distance in plan, z ignored.
[[nodiscard]] double distance_2d(const vec3 &a, const vec3 &b);

// b - a: the vector from a to b.
[[nodiscard]] vec2 vec2_sub(vec2 a, vec2 b);
[[nodiscard]] double vec2_dot(vec2 a, vec2 b);
// Positive when b lies to the left of a.
[[nodiscard]] double vec2_cross(vec2 a, vec2 b);
[[nodiscard]] double vec2_distance(vec2 a, vec2 b);

}  // namespace tarvel
