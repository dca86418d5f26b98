#include "geo/wgs84.h"

#include <cmath>

#include "geo/angle.h"
#include "geo/solve.h"

namespace tarvel {

namespace {

// WGS84: a and 1/f = 298.257223563 define the ellipsoid, the rest follows from them. All are literals, since computing
// one from another rounds differently and gives other last digits.
constexpr double a = 6378137.0;                      // semi-major axis, m
constexpr double b = 6356752.314245179;              // semi-minor axis, m
constexpr double e2 = 0.0066943799901413165;         // first eccentricity squared, f (2 - f)
constexpr double one_minus_e2 = 0.9933056200098587;  // b2 / a2
constexpr double ep2_b = 42841.31151331357;          // second eccentricity squared times b, m
constexpr double e2_a = 42697.67270717997;           // m

// The radius of curvature in the prime vertical, m.
double prime_vertical_radius(double sin_phi) { return a / std::sqrt(1.0 - e2 * (sin_phi * sin_phi)); }

double cubed(double value) { return value * value * value; }

}  // namespace

geodetic_trig geodetic_trig_of(const vec3 &wgs84) {
  const double phi = radians_from_degrees(wgs84.x);
  const double lambda = radians_from_degrees(wgs84.y);
  return {std::sin(phi), std::cos(phi), std::sin(lambda), std::cos(lambda)};
}

vec3 wgs84_to_ecef(const geodetic_trig &trig, double height) {
  const double n = prime_vertical_radius(trig.sin_phi);
  return {(n + height) * trig.cos_phi * trig.cos_lambda, (n + height) * trig.cos_phi * trig.sin_lambda,
          (one_minus_e2 * n + height) * trig.sin_phi};
}

vec3 wgs84_to_ecef(const vec3 &wgs84) { return wgs84_to_ecef(geodetic_trig_of(wgs84), wgs84.z); }

vec3 ecef_to_wgs84(const vec3 &ecef) {
  const double p = std::sqrt(ecef.x * ecef.x + ecef.y * ecef.y);
  // atan of a quotient, not atan2, which rounds some results differently.
  const double theta = std::atan(a * ecef.z / (b * p));
  const double phi = std::atan((ecef.z + ep2_b * cubed(std::sin(theta))) / (p - e2_a * cubed(std::cos(theta))));
  const double n = prime_vertical_radius(std::sin(phi));
  return {degrees_from_radians(phi), degrees_from_radians(std::atan2(ecef.y, ecef.x)), p / std::cos(phi) - n};
}

vec3 ned_to_ecef_velocity(const geodetic_trig &trig, const vec3 &ned) {
  const auto &[sin_phi, cos_phi, sin_lambda, cos_lambda] = trig;
  // The axes north, east and down, and the identity: the system is solved for the inverse, since the transpose differs
  // from it in the last bit, which reports show. Only three rows and columns: those of the translation would change no
  // bit and double the time.
  augmented_system<3, 6> system = {{{-sin_phi * cos_lambda, -sin_phi * sin_lambda, cos_phi, 1.0, 0.0, 0.0},
                                    {-sin_lambda, cos_lambda, 0.0, 0.0, 1.0, 0.0},
                                    {-cos_phi * cos_lambda, -cos_phi * sin_lambda, -sin_phi, 0.0, 0.0, 1.0}}};
  solve_augmented(system);
  return {ned.x * system[0][3] + system[0][4] * ned.y + system[0][5] * ned.z,  //
          ned.x * system[1][3] + system[1][4] * ned.y + system[1][5] * ned.z,  //
          ned.x * system[2][3] + system[2][4] * ned.y + system[2][5] * ned.z};
}

vec3 ned_to_ecef_velocity(const vec3 &wgs84, const vec3 &ned) {
  return ned_to_ecef_velocity(geodetic_trig_of(wgs84), ned);
}

}  // namespace tarvel
