#include "geo/vec3.h"

#include <cmath>

namespace tarvel {

vec3 vec3_sub(const vec3 &a, const vec3 &b) { return {b.x - a.x, b.y - a.y, b.z - a.z}; }

vec3 vec3_cross(const vec3 &a, const vec3 &b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double vec3_length(const vec3 &v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

vec2 vec3_xy(const vec3 &v) { return {v.x, v.y}; }

double distance_3d(const vec3 &a, const vec3 &b) { return vec3_length(vec3_sub(a, b)); }

double distance_2d(const vec3 &a, const vec3 &b) { return vec2_distance(vec3_xy(a), vec3_xy(b)); }

vec2 vec2_sub(vec2 a, vec2 b) { return {b.x - a.x, b.y - a.y}; }

double vec2_dot(vec2 a, vec2 b) { return a.x * b.x + a.y * b.y; }

double vec2_cross(vec2 a, vec2 b) { return a.x * b.y - a.y * b.x; }

double vec2_distance(vec2 a, vec2 b) {
  const vec2 way = vec2_sub(a, b);
  return std::sqrt(way.x * way.x + way.y * way.y);
}

}  // namespace tarvel
