// Compares the conversions with an independent geodesy library.
#include <gtest/gtest.h>

#include <GeographicLib/Geocentric.hpp>
#include <cmath>
#include <random>
#include <vector>

#include "geo/wgs84.h"

namespace tarvel {

namespace {

constexpr double nanometre = 1e-9;
constexpr double metres_per_degree = 111319.49079327358;  // of the equator: 2 pi 6378137 / 360
constexpr double radians_per_degree = 3.141592653589793 / 180.0;

vec3 ecef_of(const vec3 &wgs84) {
  vec3 ecef;
  GeographicLib::Geocentric::WGS84().Forward(wgs84.x, wgs84.y, wgs84.z, ecef.x, ecef.y, ecef.z);
  return ecef;
}

// The error of a position along the three axes of the place.
struct offset {
  double north = 0.0;
  double east = 0.0;
  double up = 0.0;
};

offset offset_between(const vec3 &place, const vec3 &found) {
  // The polar radius of curvature, 6399594 m, is the largest.
  return {(found.x - place.x) * metres_per_degree * (6399594.0 / 6378137.0),
          std::remainder(found.y - place.y, 360.0) * metres_per_degree * std::cos(place.x * radians_per_degree) * 1.004,
          found.z - place.z};
}

const double heights[] = {-400.0, -399.9, -1.0, 0.0, 1e-3, 5.0, 33.3, 250.0, 500.0, 500.1, 1500.0, 4000.0, 5000.0};

// Every 5 degrees round the globe, and close to the meridians where a sign changes.
std::vector<double> longitudes() {
  std::vector<double> result = {-179.9999999, -90.0000001, -1e-7, 1e-7, 89.9999999, 179.9999999};
  for (int i = -36; i <= 36; ++i) result.push_back(i * 5.0);
  return result;
}

// Every 4 degrees up to 80, and close to the equator.
std::vector<double> latitudes() {
  std::vector<double> result = {-1e-3, -1e-7, -1e-12, 1e-12, 1e-7, 1e-3, 44.9999999, 45.0, -45.0};
  for (int i = -20; i <= 20; ++i) result.push_back(i * 4.0);
  return result;
}

const double polar_latitudes[] = {82.0, 85.0, 88.0, 89.0, 89.9, 89.99, 89.9999, 89.9999999};

template <typename action>
void for_places(action check) {
  for (const double latitude : latitudes()) {
    for (const double longitude : longitudes()) {
      for (const double height : heights) check(vec3{latitude, longitude, height});
    }
  }
  std::mt19937_64 random(16);
  std::uniform_real_distribution<double> any_latitude(-80.0, 80.0);
  std::uniform_real_distribution<double> any_longitude(-180.0, 180.0);
  std::uniform_real_distribution<double> any_height(-400.0, 5000.0);
  for (int i = 0; i < 50000; ++i) check(vec3{any_latitude(random), any_longitude(random), any_height(random)});
}

template <typename action>
void for_polar_places(action check) {
  for (const double latitude : polar_latitudes) {
    for (const double longitude : longitudes()) {
      for (const double height : heights) {
        check(vec3{latitude, longitude, height});
        check(vec3{-latitude, longitude, height});
      }
    }
  }
}

void expect_ecef(const vec3 &place) {
  const vec3 expected = ecef_of(place);
  const vec3 found = wgs84_to_ecef(place);
  EXPECT_LT(std::hypot(found.x - expected.x, found.y - expected.y, found.z - expected.z), 10.0 * nanometre)
      << place.x << ' ' << place.y << ' ' << place.z;
}

TEST(wgs84_geodesy_test, ecef_positions_are_within_10_nanometres) {
  for_places(expect_ecef);
  for_polar_places(expect_ecef);
  expect_ecef({90.0, 10.0, 100.0});
  expect_ecef({-90.0, 170.0, 100.0});
}

// The error of one step of Bowring's formula.
double allowance(double height) { return (height <= 500.0 ? 15.0 : 400.0) * nanometre; }

TEST(wgs84_geodesy_test, geodetic_positions_are_within_what_one_step_allows) {
  for_places([](const vec3 &place) {
    const offset off = offset_between(place, ecef_to_wgs84(ecef_of(place)));
    EXPECT_LT(std::hypot(off.north, off.east, off.up), allowance(place.z))
        << place.x << ' ' << place.y << ' ' << place.z;
  });
}

TEST(wgs84_geodesy_test, plan_positions_hold_up_to_the_poles_and_heights_lose_by_the_tangent) {
  // p / cos phi: an error of the last bit of phi, 1.1e-16, grows with tan phi times the earth's radius.
  for_polar_places([](const vec3 &place) {
    const offset off = offset_between(place, ecef_to_wgs84(ecef_of(place)));
    EXPECT_LT(std::hypot(off.north, off.east), allowance(place.z)) << place.x << ' ' << place.y << ' ' << place.z;
    const double tangent = std::fabs(std::tan(place.x * radians_per_degree));
    EXPECT_LT(std::fabs(off.up), allowance(place.z) + 2.0 * tangent * 1.1e-16 * 6.4e6)
        << place.x << ' ' << place.y << ' ' << place.z;
  });
}

TEST(wgs84_geodesy_test, there_and_back_keeps_the_height_to_a_millimetre) {
  for_places([](const vec3 &place) { EXPECT_NEAR(ecef_to_wgs84(wgs84_to_ecef(place)).z, place.z, 1e-3); });
}

TEST(wgs84_geodesy_test, velocities_follow_the_librarys_axes) {
  for_places([](const vec3 &place) {
    std::vector<double> rotation(9);  // row-major, columns east, north, up
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    GeographicLib::Geocentric::WGS84().Forward(place.x, place.y, place.z, x, y, z, rotation);
    const vec3 ned = {31.0, -7.0, 12.0};
    const vec3 velocity = ned_to_ecef_velocity(place, ned);
    const double found[] = {velocity.x, velocity.y, velocity.z};
    for (std::size_t i = 0; i < 3; ++i) {
      const double expected = rotation[3 * i] * ned.y + rotation[3 * i + 1] * ned.x - rotation[3 * i + 2] * ned.z;
      EXPECT_NEAR(found[i], expected, 5e-14) << place.x << ' ' << place.y;
    }
  });
}

}  // namespace

}  // namespace tarvel
