#include "geo/plane.h"

#include <utility>

#include "geo/solve.h"

namespace tarvel {

double interpolate(double y0, double y1, double x0, double x1, double x) {
  return (y1 - y0) * (x - x0) / (x1 - x0) + y0;
}

bool points_equal(vec2 a, vec2 b) { return a.x == b.x && a.y == b.y; }

namespace {

vec2 point_along(vec2 start, vec2 way, double t) { return {start.x + t * way.x, start.y + t * way.y}; }

// The overlap of p + [0, 1] r with the segment from p + t0 r to p + t1 r.
bool collinear_overlap(vec2 p, vec2 r, vec2 q_from_p, vec2 s, segment2 &common) {
  const double rr = vec2_dot(r, r);
  double t0 = vec2_dot(q_from_p, r) / rr;
  double t1 = vec2_dot(s, r) / rr + t0;
  if (t0 > t1) std::swap(t0, t1);
  if (t0 > 1.0 || t1 < 0.0) return false;
  if (t0 < 0.0) t0 = 0.0;
  if (t1 > 1.0) t1 = 1.0;
  const vec2 from = point_along(p, r, t0);
  const vec2 to = point_along(p, r, t1);
  common = {from.x, from.y, to.x, to.y};
  return true;
}

struct line_equation {
  double a = 0.0;  // a x + b y = c
  double b = 0.0;
  double c = 0.0;
};

line_equation line_through(const segment2 &s) {
  const double a = s.y2 - s.y1;
  const double b = s.x1 - s.x2;
  return {a, b, s.y1 * b + a * s.x1};
}

}  // namespace

bool segment_intersection(const segment2 &first, const segment2 &second, segment2 &common) {
  const vec2 p = {first.x1, first.y1};
  const vec2 q = {second.x1, second.y1};
  const vec2 r = vec2_sub(p, {first.x2, first.y2});
  const vec2 s = vec2_sub(q, {second.x2, second.y2});
  const vec2 qp = vec2_sub(p, q);
  const double rs = vec2_cross(r, s);
  const double t_num = vec2_cross(qp, s);
  const double u_num = vec2_cross(qp, r);

  if (rs == 0.0) {
    const bool is_collinear = t_num == 0.0;  // false for NaN
    return is_collinear && collinear_overlap(p, r, qp, s, common);
  }
  const double t = t_num / rs;
  const double u = u_num / rs;
  if (!(0.0 <= t && t <= 1.0 && 0.0 <= u && u <= 1.0)) return false;
  const vec2 crossing = point_along(p, r, t);
  common = {crossing.x, crossing.y, crossing.x, crossing.y};
  return true;
}

vec2 line_intersection(const segment2 &first, const segment2 &second) {
  const line_equation f = line_through(first);
  const line_equation s = line_through(second);
  augmented_system<2, 3> system = {{{f.a, f.b, f.c}, {s.a, s.b, s.c}}};
  solve_augmented(system);
  return {system[0][2], system[1][2]};
}

}  // namespace tarvel
