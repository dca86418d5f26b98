#include "gate/survey.h"

#include <array>
#include <cmath>
#include <utility>

#include "gate/waypoints.h"
#include "geo/angle.h"
#include "geo/course_frame.h"
#include "geo/plane.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

constexpr double exit_mark_tolerance = 5.0;  // m, along the line from the origin to the mark

segment2 plan_segment(const vec3 &from, const vec3 &to) { return {from.x, from.y, to.x, to.y}; }

course_corners in_frame(const course_corners &corners, const mat4 &frame) {
  return {mat4_transform_point(frame, corners.a), mat4_transform_point(frame, corners.b),
          mat4_transform_point(frame, corners.c), mat4_transform_point(frame, corners.d)};
}

// Levels copies of the waypoints, since the pond is searched between the original ones.
course_corners level_corners(const waypoint_list &waypoints, text_buffer &log) {
  std::array<vec3, 4> corners = {waypoints[4], waypoints[1], waypoints[2], waypoints[3]};
  level_waypoints(corners, log);
  return {corners[0], corners[1], corners[2], corners[3]};
}

// Builds the frame at corner c and moves its origin along the x-axis to the centre of the entry gate.
mat4 build_course_frame(const course_corners &corners, text_buffer &log) {
  frame_axes axes;
  bool is_clockwise = false;
  frame_from_course_points(corners.a, corners.b, corners.c, axes, is_clockwise);
  if (is_clockwise) text_buffer_printf(log, "WARNING: clockwise pond walk detected\n");
  mat4 frame = mat4_from_axes(axes, corners.c);
  const vec3 centre = locate_gate_centre(in_frame(corners, frame), log.error);
  frame.m[0][3] -= centre.x;
  return frame;
}

bool is_present(const vec3 &waypoint) { return waypoint.x != 0.0 || waypoint.y != 0.0 || waypoint.z != 0.0; }

double survey_theta(const mat4 &frame, const vec3 &b, const vec3 &exit_waypoint, text_buffer &log) {
  const vec3 exit_mark = mat4_transform_point(frame, exit_waypoint);
  const double theta =
      exit_gate_theta(mat4_transform_point(frame, b), is_present(exit_waypoint) ? &exit_mark : nullptr, log);
  text_buffer_printf(log, "theta = %.1f degrees\n", degrees_from_radians(theta));
  return theta;
}

void survey_waypoints(gate &surveyed, text_buffer &log) {
  waypoint_list waypoints;
  find_waypoints(samples_of(surveyed), waypoints, log);
  if (*log.error) return;
  const course_corners corners = level_corners(waypoints, log);
  if (*log.error) return;
  const mat4 frame = build_course_frame(corners, log);
  if (*log.error) return;
  const double theta = survey_theta(frame, corners.b, waypoints[5], log);
  if (*log.error) return;

  surveyed.course.theta = theta;
  surveyed.course.matrix = frame;
  for (std::size_t i = 0; i < surveyed.waypoints.size(); ++i) {
    surveyed.waypoints[i] = mat4_transform_point(frame, waypoints[i]);
  }
}

}  // namespace

void survey_gate(gate &surveyed, owned_text *log_text, error_slot *error) {
  *error = nullptr;
  surveyed.course.theta = 0.0;
  if (log_text != nullptr) log_text->reset();
  text_buffer log = text_buffer_create(error);
  if (*error) return;

  derive_ecef(samples_of(surveyed));
  survey_waypoints(surveyed, log);
  if (log_text != nullptr && log.length != 0) *log_text = std::move(log.data);
}

vec3 locate_gate_centre(const course_corners &corners, error_slot *error) {
  segment2 common;
  const bool meet =
      segment_intersection(plan_segment(corners.a, corners.c), plan_segment(corners.b, corners.d), common);
  if (!meet || !points_equal({common.x1, common.y1}, {common.x2, common.y2})) {
    *error = "AC and BD do not intersect";
    return {};
  }
  return {common.x1, common.y1, 0.0};
}

double exit_gate_theta(const vec3 &b, const vec3 *exit_mark, text_buffer &log) {
  const double gate_theta = std::atan2(b.x, b.y);
  if (exit_mark == nullptr) return gate_theta;
  if (exit_mark->x < 0.0) {
    text_buffer_printf(log, "WARNING: exit gate location ignored (behind entry gate)\n");
    return gate_theta;
  }
  vec3 expected = carve_gate_points(carve_angle_degrees, carve_radius, carve_gate_width).centre;
  if (exit_mark->y < 0.0) expected.y = -expected.y;

  const vec3 origin;
  const double before = distance_2d(*exit_mark, expected);
  // The distance that remains after the frame is rotated so that the mark is in the expected direction.
  const double after = distance_2d(*exit_mark, origin) - distance_2d(expected, origin);
  text_buffer_printf(log, "exit gate location error (before, after) = (%0.1fm, %0.1fm)\n", before, after);
  if (std::fabs(after) > exit_mark_tolerance) {
    text_buffer_printf(log, "WARNING: exit gate location ignored (error too large)\n");
    return gate_theta;
  }
  return std::atan2(exit_mark->x, exit_mark->y) - std::atan2(expected.x, expected.y);
}

}  // namespace tarvel
