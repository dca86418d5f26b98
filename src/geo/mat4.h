// Frame matrices, which transform ECEF positions to positions on the course.
#pragma once

#include <span>

#include "geo/vec3.h"

namespace tarvel {

// Row-major. A frame matrix holds the local axes, expressed in ECEF, as rows 0 to 2, the translation in column 3 and
// (0, 0, 0, 1) as row 3; points are column vectors.
struct mat4 {
  double m[4][4] = {};

  bool operator==(const mat4 &) const = default;
};

// Three unit axes in ECEF.
struct frame_axes {
  vec3 x;
  vec3 y;
  vec3 z;
};

// Rotation and translation, for positions.
[[nodiscard]] vec3 mat4_transform_point(const mat4 &frame, const vec3 &point);
// Rotation only, for velocities and directions.
[[nodiscard]] vec3 mat4_transform_vector(const mat4 &frame, const vec3 &v);
// The general inverse. A singular matrix gives infinities or NaN.
[[nodiscard]] mat4 mat4_inverse(const mat4 &matrix);
// Rotates local coordinates counter-clockwise about z by an angle in radians. An angle of exactly 0 changes no bit.
void mat4_rotate_z(mat4 &frame, double angle);
// The frame with these axes and this origin, which is an ECEF point.
[[nodiscard]] mat4 mat4_from_axes(const frame_axes &axes, const vec3 &origin);

// Rotates the points counter-clockwise about z by an angle in radians; z is unchanged. An angle of exactly 0 changes no
// bit.
void rotate_point_list(std::span<vec3> points, double angle);

}  // namespace tarvel
