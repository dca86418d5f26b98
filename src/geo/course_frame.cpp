#include "geo/course_frame.h"

#include <cmath>

#include "geo/angle.h"
#include "geo/wgs84.h"

namespace tarvel {

namespace {

vec3 divided(const vec3 &v, double divisor) { return {v.x / divisor, v.y / divisor, v.z / divisor}; }

vec3 unit(const vec3 &v) { return divided(v, vec3_length(v)); }

}  // namespace

void frame_from_course_points(const vec3 &a, const vec3 &b, const vec3 &c, frame_axes &axes, bool &clockwise) {
  const vec3 u = vec3_sub(c, a);
  const vec3 w = vec3_sub(c, b);
  vec3 n = vec3_cross(u, w);
  // When the normal points down, adding it to the corner gives a point nearer to the earth's centre.
  clockwise = vec3_length(c) > vec3_length({c.x + n.x, c.y + n.y, c.z + n.z});
  if (clockwise) n = {-n.x, -n.y, -n.z};
  axes = {unit(u), unit(vec3_cross(n, u)), unit(n)};
}

void frame_from_vertical(const vec3 &above, const vec3 &origin, const vec3 &ahead, frame_axes &axes) {
  const vec3 u = vec3_sub(origin, above);
  const vec3 w = vec3_sub(origin, ahead);
  const vec3 n = vec3_cross(u, w);
  axes = {unit(vec3_cross(n, u)), unit(n), unit(u)};
}

std::array<vec3, 2> entry_gate_ends(const mat4 &frame) {
  const mat4 to_ecef = mat4_inverse(frame);
  return {ecef_to_wgs84(mat4_transform_point(to_ecef, {0.0, 5.0, 1.5})),
          ecef_to_wgs84(mat4_transform_point(to_ecef, {0.0, -5.0, 1.5}))};
}

carve_gate carve_gate_points(double angle, double radius, double width) {
  const double x = radians_from_degrees(angle);
  const double s = std::sin(x);
  const double c = std::cos(x);
  const double inner_radius = radius - width / 2.0;
  const double outer_radius = width / 2.0 + radius;
  return {{inner_radius * s, radius - inner_radius * c, 0.0},
          {radius * s, radius - radius * c, 0.0},
          {outer_radius * s, radius - outer_radius * c, 0.0}};
}

}  // namespace tarvel
