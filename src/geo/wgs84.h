// Conversions between WGS84 and ECEF positions, and of velocities from the local tangent plane to ECEF.
#pragma once

#include "geo/vec3.h"

namespace tarvel {

// The sines and cosines of a latitude phi and longitude lambda. The conversions of a position and of its velocity share
// them.
struct geodetic_trig {
  double sin_phi = 0.0;
  double cos_phi = 1.0;
  double sin_lambda = 0.0;
  double cos_lambda = 1.0;
};

[[nodiscard]] geodetic_trig geodetic_trig_of(const vec3 &wgs84);

// From latitude and longitude in degrees and height in metres above the ellipsoid to ECEF in metres.
[[nodiscard]] vec3 wgs84_to_ecef(const vec3 &wgs84);
[[nodiscard]] vec3 wgs84_to_ecef(const geodetic_trig &trig, double height);

// Bowring's closed form with one step: within 15 nm up to 500 m of height, 0.4 um up to 5 km. The rounding error of the
// height grows with the tangent of the latitude; on the polar axis the result is meaningless.
[[nodiscard]] vec3 ecef_to_wgs84(const vec3 &ecef);

// A velocity at a WGS84 position, from north, east, down to ECEF axes, m/s.
[[nodiscard]] vec3 ned_to_ecef_velocity(const vec3 &wgs84, const vec3 &ned);
[[nodiscard]] vec3 ned_to_ecef_velocity(const geodetic_trig &trig, const vec3 &ned);

}  // namespace tarvel
