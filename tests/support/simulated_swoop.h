// A whole run made from speeds: an exit, a descent, a diving turn, a level flight through the gate, a standstill.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "geo/angle.h"
#include "geo/course_frame.h"
#include "geo/mat4.h"
#include "geo/wgs84.h"
#include "track/gps_point.h"

namespace tarvel {

// Speeds change evenly to those given; a turn is positive to the right.
struct flight_leg {
  double seconds;
  double speed;      // m/s in plan at the leg's end
  double descent;    // m/s at the leg's end
  double turn_rate;  // degrees per second
};

// A frame at 48 N 11 E whose x-axis points north-east.
[[nodiscard]] inline mat4 simulated_frame() {
  const vec3 origin = wgs84_to_ecef({48.0, 11.0, 500.0});
  frame_axes axes;
  frame_from_vertical(wgs84_to_ecef({48.0, 11.0, 600.0}), origin, wgs84_to_ecef({48.001, 11.0015, 500.0}), axes);
  return mat4_from_axes(axes, origin);
}

[[nodiscard]] inline mat4 turned(mat4 frame, double angle) {
  mat4_rotate_z(frame, angle);
  return frame;
}

struct simulated_flight {
  std::vector<vec3> positions;   // in the frame
  std::vector<vec3> velocities;  // in the frame
};

// Integrates the legs in steps of 1 ms and keeps five samples a second. The flight ends with heading 0; it is shifted
// so that the leg gate_leg begins 1.5 m above the origin.
[[nodiscard]] inline simulated_flight fly(const std::vector<flight_leg> &legs, std::size_t gate_leg) {
  double turn_before_gate = 0.0;
  for (std::size_t i = 0; i < gate_leg; ++i) turn_before_gate += legs[i].seconds * legs[i].turn_rate;
  simulated_flight flight;
  vec3 position;
  vec3 at_gate;
  double heading = -turn_before_gate;
  double speed = legs[0].speed;
  double descent = legs[0].descent;
  std::int64_t time = 0;
  for (std::size_t leg = 0; leg < legs.size(); ++leg) {
    if (leg == gate_leg) at_gate = position;
    const auto steps = static_cast<int>(std::lround(legs[leg].seconds * 1000.0));
    const double speed_before = speed;
    const double descent_before = descent;
    for (int k = 0; k < steps; ++k, ++time) {
      const double part = static_cast<double>(k) / steps;
      speed = speed_before + (legs[leg].speed - speed_before) * part;
      descent = descent_before + (legs[leg].descent - descent_before) * part;
      const double course = -radians_from_degrees(heading + legs[leg].turn_rate * 0.0005);
      const vec3 velocity = {speed * std::cos(course), speed * std::sin(course), -descent};
      if (time % 200 == 0) {
        flight.positions.push_back(position);
        flight.velocities.push_back(velocity);
      }
      position = {position.x + velocity.x * 0.001, position.y + velocity.y * 0.001, position.z + velocity.z * 0.001};
      heading += legs[leg].turn_rate * 0.001;
    }
    speed = legs[leg].speed;
    descent = legs[leg].descent;
  }
  for (vec3 &p : flight.positions) p = {p.x - at_gate.x, p.y - at_gate.y, p.z - at_gate.z + 1.5};
  return flight;
}

// The samples that a logger would record of the flight, five a second from 1,000,000 ms on.
[[nodiscard]] inline std::vector<gps_point> logged(const simulated_flight &flight, const mat4 &frame) {
  const mat4 to_ecef = mat4_inverse(frame);
  std::vector<gps_point> samples(flight.positions.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    gps_point &sample = samples[i];
    sample.time = 1000000 + static_cast<std::int64_t>(i) * 200;
    sample.pos_wgs84 = ecef_to_wgs84(mat4_transform_point(to_ecef, flight.positions[i]));
    const vec3 v = mat4_transform_vector(to_ecef, flight.velocities[i]);
    const auto along = [&](const vec3 &ned) {
      const vec3 axis = ned_to_ecef_velocity(sample.pos_wgs84, ned);
      return v.x * axis.x + v.y * axis.y + v.z * axis.z;
    };
    sample.vel_ltp = {along({1.0, 0.0, 0.0}), along({0.0, 1.0, 0.0}), along({0.0, 0.0, 1.0})};
    sample.hacc = sample.vacc = sample.sacc = 0.5F;
  }
  return samples;
}

}  // namespace tarvel
