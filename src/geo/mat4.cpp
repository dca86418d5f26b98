#include "geo/mat4.h"

#include <cmath>

#include "geo/solve.h"

namespace tarvel {

vec3 mat4_transform_vector(const mat4 &frame, const vec3 &v) {
  const auto &m = frame.m;
  return {v.x * m[0][0] + m[0][1] * v.y + m[0][2] * v.z,  //
          v.x * m[1][0] + m[1][1] * v.y + m[1][2] * v.z,  //
          v.x * m[2][0] + m[2][1] * v.y + m[2][2] * v.z};
}

vec3 mat4_transform_point(const mat4 &frame, const vec3 &point) {
  const vec3 rotated = mat4_transform_vector(frame, point);
  return {rotated.x + frame.m[0][3], rotated.y + frame.m[1][3], rotated.z + frame.m[2][3]};
}

mat4 mat4_inverse(const mat4 &matrix) {
  augmented_system<4, 8> system = {};
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) system[r][c] = matrix.m[r][c];
    system[r][4 + r] = 1.0;
  }
  solve_augmented(system);

  mat4 inverse;
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) inverse.m[r][c] = system[r][4 + c];
  }
  return inverse;
}

void mat4_rotate_z(mat4 &frame, double angle) {
  if (angle == 0.0) return;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  for (std::size_t column = 0; column < 4; ++column) {
    const double row0 = frame.m[0][column];
    const double row1 = frame.m[1][column];
    frame.m[0][column] = c * row0 - s * row1;
    frame.m[1][column] = s * row0 + c * row1;
  }
}

mat4 mat4_from_axes(const frame_axes &axes, const vec3 &origin) {
  mat4 frame = {{{axes.x.x, axes.x.y, axes.x.z, 0.0},
                 {axes.y.x, axes.y.y, axes.y.z, 0.0},
                 {axes.z.x, axes.z.y, axes.z.z, 0.0},
                 {0.0, 0.0, 0.0, 1.0}}};
  const vec3 turned_origin = mat4_transform_vector(frame, origin);
  frame.m[0][3] = -turned_origin.x;
  frame.m[1][3] = -turned_origin.y;
  frame.m[2][3] = -turned_origin.z;
  return frame;
}

void rotate_point_list(std::span<vec3> points, double angle) {
  if (angle == 0.0) return;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  const mat4 turn = {{{c, -s, 0.0, 0.0}, {s, c, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  for (vec3 &point : points) {
    const vec3 turned = mat4_transform_point(turn, point);
    point.x = turned.x;
    point.y = turned.y;
  }
}

}  // namespace tarvel
