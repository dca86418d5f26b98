// WGS84 positions, ECEF positions, and velocities between the local tangent plane and ECEF.
#pragma once

#include "geo/vec3.h"

namespace tarvel {

// The sines and cosines of a position's latitude phi and longitude lambda, which its position and its velocity both
// need.
struct geodetic_trig {
  double sin_phi = 0.0;
  double cos_phi = 1.0;
  double sin_lambda = 0.0;
  double cos_lambda = 1.0;
};

[[nodiscard]] geodetic_trig geodetic_trig_of(const vec3 &wgs84);

// Latitude and longitude in degrees, height in metres above the ellipsoid; ECEF metres.
[[nodiscard]] vec3 wgs84_to_ecef(const vec3 &wgs84);
[[nodiscard]] vec3 wgs84_to_ecef(const geodetic_trig &trig, double height);

// Bowring's closed form with one step: within 15 nm up to 500 m of height, 0.4 um up to 5 km. Towards the poles the
// height loses digits with the tangent of the latitude; on the polar axis itself the result means nothing.
[[nodiscard]] vec3 ecef_to_wgs84(const vec3 &ecef);

// North, east, down at a WGS84 position to ECEF axes, m/s.
[[nodiscard]] vec3 ned_to_ecef_velocity(const vec3 &wgs84, const vec3 &ned);
[[nodiscard]] vec3 ned_to_ecef_velocity(const geodetic_trig &trig, const vec3 &ned);

}  // namespace tarvel
