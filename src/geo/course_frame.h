// Course frames, and the positions of gates in them.
#pragma once

#include <array>

#include "geo/mat4.h"
#include "geo/vec3.h"

namespace tarvel {

// The axes of a course frame from three ECEF points: x from c towards a, z up. Sets clockwise when a, b, c are in
// clockwise order seen from above; b is then on the -y side, otherwise on the +y side.
void frame_from_course_points(const vec3 &a, const vec3 &b, const vec3 &c, frame_axes &axes, bool &clockwise);

// The axes of a frame: z from origin to above, x the direction from origin towards ahead, perpendicular to z. All
// points are ECEF.
void frame_from_vertical(const vec3 &above, const vec3 &origin, const vec3 &ahead, frame_axes &axes);

// The ends of the entry gate as a map shows it: 5 m to either side of the course axis and 1.5 m above it, the +y end
// first. WGS84, degrees and metres.
[[nodiscard]] std::array<vec3, 2> entry_gate_ends(const mat4 &frame);

// The speed carve course of the sport's rules: an arc of 75 degrees that is 70 m long, with gates 10 m wide.
constexpr double carve_angle_degrees = 75.0;
constexpr double carve_radius = 53.47606087887684;  // m, 70 / (75 pi / 180); a literal, one bit above what doubles give
constexpr double carve_gate_width = 10.0;           // m

// Three points of a gate on the arc, in local metres.
struct carve_gate {
  vec3 inner;
  vec3 centre;
  vec3 outer;
};

// The gate of this width (m) at an angle (degrees, 0 at the origin) along a circle of this radius (m) whose centre is
// (0, radius), so that it curves towards +y.
[[nodiscard]] carve_gate carve_gate_points(double angle, double radius, double width);

}  // namespace tarvel
