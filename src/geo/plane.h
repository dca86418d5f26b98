// Plan geometry and interpolation.
#pragma once

#include "geo/vec3.h"

namespace tarvel {

// From (x1, y1) to (x2, y2).
struct segment2 {
  double x1 = 0.0;
  double y1 = 0.0;
  double x2 = 0.0;
  double y2 = 0.0;
};

// The y at x on the line through (x0, y0) and (x1, y1); x0 = x1 gives an infinity or NaN.
[[nodiscard]] double interpolate(double y0, double y1, double x0, double x1, double x);

// Exactly equal coordinates; never true for NaN.
[[nodiscard]] bool points_equal(vec2 a, vec2 b);

// True when the segments have a point in common, ends included. common is then their common part; it has length 0 when
// they cross in one point. Otherwise common is unchanged.
[[nodiscard]] bool segment_intersection(const segment2 &first, const segment2 &second, segment2 &common);

// The intersection of the two infinite lines; infinities or NaN when they are parallel.
[[nodiscard]] vec2 line_intersection(const segment2 &first, const segment2 &second);

}  // namespace tarvel
