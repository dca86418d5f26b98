// Courses laid out on the ellipsoid by geodesics from a known centre and bearing come back with that centre and
// bearing.
//
// How exactly they can come back: with A and C at distances a ahead and c behind, B and D at b to either side, all at
// one height above an earth of radius R,
// - the earth falls away by s^2 / 2R at distance s, so the line AC passes a c / 2R below the centre. That is where the
//   origin must lie: 0.2 mm for 50 m each way.
// - x runs along AC, which is tilted by (a - c) / 2R (nose down for a longer way ahead); across, B lies b^2 / 2R below
//   the centre and the axis a c / 2R: the frame is tilted by (a c - b^2) / 2R b, up on the side of B. With gates of 10
//   m that is the larger of the two, 3e-5.
// - in plan the centre, a c / 2R above the line AC, is shifted across it by that height times the tilt.
// - the normals of two places of an ellipsoid do not meet. At height h that turns a place at azimuth s, as seen from
//   the centre, by e2 h cos2(phi) sin(2 s) / 2R from its geodesic: some 1e-7 for a few hundred metres, the same way for
//   A and C and the other way for B and D. The turn from B to the y-axis is twice as large.
// - geodesics leave their normal sections by less than 1e-8 m within 150 m.
// Rounding: a mean of 41 ECEF coordinates of 6e6 m is exact to 41 half-units in the last place, 2e-8 m, the conversion
// to WGS84 and back to 2e-8 m. Together 1e-7 m in plan; over 2b = 10 m that is a tilt of 1e-8, over 70 m an angle of
// 2e-9. R is the radius of curvature in the direction in question, between 6335 km and 6400 km.
#include <gtest/gtest.h>

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "gate/survey.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

constexpr double degree = 3.141592653589793 / 180.0;
constexpr double smallest_radius = 6.335e6;
constexpr double largest_radius = 6.400e6;

struct laid_out_course {
  const char *name;
  double latitude;
  double longitude;
  double height;  // of the logger
  double bearing;
  double ahead;   // m to A
  double behind;  // m to C
  double aside;   // m to B and D
};

const laid_out_course laid_out_courses[] = {
    {"northern lowlands", 52.14, 6.07, 25.0, 123.4, 50.0, 50.0, 30.0},
    {"a gate of ten metres", 48.5, 11.25, 420.0, 200.0, 70.0, 20.0, 5.0},
    {"long behind the gate", 48.5, 11.25, 420.0, 311.0, 20.0, 120.0, 5.0},
    {"on the equator, to the east", 0.0, 78.0, 2800.0, 90.0, 70.0, 25.0, 12.0},
    {"across the equator", 0.0, -60.0, 100.0, 0.0, 100.0, 100.0, 5.0},
    {"southern, to the west", -33.8688, 151.2093, 5.0, 270.0, 65.0, 30.0, 5.0},
    {"across the date line", -17.5, 180.0, 3.0, 45.0, 80.0, 80.0, 20.0},
    {"far in the north, to the south", 78.2, 15.6, 30.0, 180.0, 70.0, 40.0, 5.0},
    {"below the ellipsoid", 31.5, 35.5, -400.0, 17.0, 70.0, 30.0, 5.0},
};

vec3 at_azimuth(const laid_out_course &c, double azimuth, double distance) {
  double latitude = 0.0;
  double longitude = 0.0;
  GeographicLib::Geodesic::WGS84().Direct(c.latitude, c.longitude, azimuth, distance, latitude, longitude);
  return {latitude, longitude, c.height};
}

void stand_at(hand_made_walk &walk, const vec3 &wgs84) {
  const std::size_t first = walk.samples.size();
  stand(walk, 12.0);
  for (std::size_t i = first; i < walk.samples.size(); ++i) walk.samples[i].pos_wgs84 = wgs84;
}

course surveyed(const laid_out_course &c) {
  hand_made_walk walk;
  stand_at(walk, at_azimuth(c, c.bearing - 30.0, c.ahead));
  stand_at(walk, at_azimuth(c, c.bearing - 90.0, c.aside));
  stand_at(walk, at_azimuth(c, c.bearing + 180.0, c.behind));
  stand_at(walk, at_azimuth(c, c.bearing + 90.0, c.aside));
  stand_at(walk, at_azimuth(c, c.bearing, c.ahead));
  gate walked = gate_of(walk.samples);
  error_slot error = nullptr;
  survey_gate(walked, nullptr, &error);
  EXPECT_STREQ(error, nullptr);
  return std::move(walked.course);
}

// The course plane's centre, a metre below the logger, and its directions, from the other library alone.
struct true_course {
  vec3 centre;
  vec3 ahead;
  vec3 left;
  vec3 up;
};

vec3 combined(const vec3 &u, double along_u, const vec3 &v, double along_v) {
  return {along_u * u.x + along_v * v.x, along_u * u.y + along_v * v.y, along_u * u.z + along_v * v.z};
}

true_course truth_of(const laid_out_course &c) {
  std::vector<double> m(9);  // columns: east, north, up
  true_course truth;
  GeographicLib::Geocentric::WGS84().Forward(c.latitude, c.longitude, c.height - 1.0, truth.centre.x, truth.centre.y,
                                             truth.centre.z, m);
  const vec3 east = {m[0], m[3], m[6]};
  const vec3 north = {m[1], m[4], m[7]};
  const double s = std::sin(c.bearing * degree);
  const double k = std::cos(c.bearing * degree);
  truth.ahead = combined(east, s, north, k);
  truth.left = combined(north, s, east, -k);
  truth.up = {m[2], m[5], m[8]};
  return truth;
}

// A length or an angle that is the numerator divided by the earth's diameter, for any of its radii.
void expect_over_diameter(double value, double numerator, double rounding) {
  const double one = numerator / (2.0 * smallest_radius);
  const double other = numerator / (2.0 * largest_radius);
  EXPECT_GE(value, std::min(one, other) - rounding);
  EXPECT_LE(value, std::max(one, other) + rounding);
}

double roll_numerator(const laid_out_course &c) { return (c.ahead * c.behind - c.aside * c.aside) / c.aside; }

double skew_numerator(const laid_out_course &c) {
  constexpr double e2 = 0.00669438;
  const double k = std::cos(c.latitude * degree);
  return e2 * (c.height - 1.0) * k * k * std::sin(2.0 * c.bearing * degree);
}

TEST(survey_geodesy_test, finds_the_centre_that_the_corners_were_laid_out_from) {
  for (const laid_out_course &c : laid_out_courses) {
    SCOPED_TRACE(c.name);
    const course found = surveyed(c);
    const vec3 centre = mat4_transform_point(found.matrix, truth_of(c).centre);
    EXPECT_NEAR(centre.x, 0.0, 1e-7);
    expect_over_diameter(centre.z, c.ahead * c.behind, 1e-7);
    EXPECT_NEAR(centre.y, 0.0, 1e-7 + centre.z * std::fabs(roll_numerator(c)) / (2.0 * smallest_radius));
  }
}

TEST(survey_geodesy_test, finds_the_bearing_that_the_course_was_laid_out_in) {
  for (const laid_out_course &c : laid_out_courses) {
    SCOPED_TRACE(c.name);
    const course found = surveyed(c);
    const vec3 ahead = mat4_transform_vector(found.matrix, truth_of(c).ahead);
    EXPECT_GT(ahead.x, 0.99);
    expect_over_diameter(-std::atan2(ahead.y, ahead.x), skew_numerator(c), 3e-9);
    // B lies straight to the left, so that nothing else needs turning.
    expect_over_diameter(found.theta, 2.0 * skew_numerator(c), 2e-7 / c.aside);
  }
}

TEST(survey_geodesy_test, tilts_the_frame_by_no_more_than_the_earth_bends) {
  for (const laid_out_course &c : laid_out_courses) {
    SCOPED_TRACE(c.name);
    const course found = surveyed(c);
    const true_course truth = truth_of(c);
    const vec3 up = mat4_transform_vector(found.matrix, truth.up);
    EXPECT_GT(up.z, 0.99);
    // Seen from a frame whose nose is down, up leans back; from one whose B side is up, it leans towards B.
    const double pitch = c.ahead - c.behind;
    expect_over_diameter(-up.x, pitch, 1e-8);
    expect_over_diameter(up.y, roll_numerator(c), 2e-8);
  }
}

}  // namespace
}  // namespace tarvel
