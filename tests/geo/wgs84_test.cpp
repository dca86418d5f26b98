#include "geo/wgs84.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

struct conversion_case {
  const char *name;
  vec3 given;
  vec3 expected;
};

// 50 digits, mpmath, from a = 6378137 m and 1/f = 298.257223563.
const conversion_case forward_cases[] = {
    {"northern hill", {47.0, 11.0, 500.0}, {4277959.4464715419658, 831551.07968376137763, 4642130.4656711815031}},
    {"southern beach",
     {-33.8688, 151.2093, 5.0},
     {-4646054.9104460767892, 2553208.3416673723807, -3534375.1743787639641}},
    {"below the ellipsoid",
     {40.7, -74.0, -400.0},
     {1334657.7537685193432, -4654504.7280765972869, 4136961.8775146541099}},
    {"exit height", {28.0, -82.0, 4000.0}, {784832.14482202353677, -5584370.8804204847282, 2978383.163582264085}},
    {"near a pole", {-89.0, 45.0, 100.0}, {78976.713678915245202, 78976.713678915245202, -6355877.6114090017529}},
    {"equator and prime meridian", {0.0, 0.0, 0.0}, {6378137.0, 0.0, 0.0}},
    {"antimeridian", {0.0, 180.0, 0.0}, {-6378137.0, 0.0, 0.0}},
    {"a quarter round", {0.0, -90.0, 10.0}, {0.0, -6378147.0, 0.0}},
    {"north pole", {90.0, 0.0, 0.0}, {0.0, 0.0, 6356752.314245179}},
    {"south pole", {-90.0, 30.0, 1000.0}, {0.0, 0.0, -6357752.314245179}},
};

TEST(wgs84_test, finds_ecef_positions) {
  for (const conversion_case &c : forward_cases) {
    SCOPED_TRACE(c.name);
    const vec3 ecef = wgs84_to_ecef(c.given);
    EXPECT_NEAR(ecef.x, c.expected.x, 5e-9);
    EXPECT_NEAR(ecef.y, c.expected.y, 5e-9);
    EXPECT_NEAR(ecef.z, c.expected.z, 5e-9);
  }
}

// Bowring's formula with one step in 50 digits, mpmath; at great heights it differs from an iterated solution.
const conversion_case inverse_cases[] = {
    {"10 km up",
     {4000000.0, 800000.0, 4900000.0},
     {50.411671486405061855, 11.309932474020213086, 10255.135012923267621}},
    {"74 km down",
     {-4600000.0, 2500000.0, -3500000.0},
     {-33.943599472404318798, 151.47688139368796914, -73889.815652839502072}},
    {"43 km up",
     {900000.0, -5600000.0, 3000000.0},
     {28.03385960174390461, -80.869823517721308526, 42941.357115564326421}},
    {"2289 km up", {5000000.0, 5000000.0, 5000000.0}, {35.397922959556672599, 45.0, 2289260.7873444450933}},
    {"equator and antimeridian", {-6378137.0, 0.0, 0.0}, {0.0, 180.0, 0.0}},
    {"equator and prime meridian", {6378237.0, 0.0, 0.0}, {0.0, 0.0, 100.0}},
};

TEST(wgs84_test, finds_latitude_longitude_and_height_in_one_step) {
  for (const conversion_case &c : inverse_cases) {
    SCOPED_TRACE(c.name);
    const vec3 wgs84 = ecef_to_wgs84(c.given);
    EXPECT_NEAR(wgs84.x, c.expected.x, 3e-14);
    EXPECT_NEAR(wgs84.y, c.expected.y, 6e-14);
    EXPECT_NEAR(wgs84.z, c.expected.z, 5e-9);
  }
}

TEST(wgs84_test, longitude_has_the_sign_of_y) {
  EXPECT_TRUE(plain::same(ecef_to_wgs84({-6378137.0, -0.0, 0.0}).y, -180.0));
  EXPECT_TRUE(plain::same(ecef_to_wgs84({6378137.0, -0.0, 0.0}).y, -0.0));
  EXPECT_EQ(ecef_to_wgs84({0.0, 6378137.0, 0.0}).y, 90.0);
  EXPECT_EQ(ecef_to_wgs84({0.0, -6378137.0, 0.0}).y, -90.0);
}

vec3 random_wgs84(std::mt19937_64 &random) {
  std::uniform_real_distribution<double> latitude(-90.0, 90.0);
  std::uniform_real_distribution<double> longitude(-180.0, 180.0);
  std::uniform_real_distribution<double> height(-400.0, 5000.0);
  return {latitude(random), longitude(random), height(random)};
}

// Axes and quadrants, where sines and cosines are zeros or all but zeros.
const double special_degrees[] = {-180.0, -90.0, -45.0, -1e-300, -0.0, 0.0,  5e-324,
                                  1e-9,   30.0,  45.0,  60.0,    90.0, 180.0};

TEST(wgs84_test, converts_with_the_plain_operations_in_their_order) {
  std::mt19937_64 random(12);
  for (int i = 0; i < 50000; ++i) {
    const vec3 wgs84 = random_wgs84(random);
    const vec3 ecef = plain::ecef_from_wgs84(wgs84);
    ASSERT_TRUE(plain::same(wgs84_to_ecef(wgs84), ecef));
    ASSERT_TRUE(plain::same(ecef_to_wgs84(ecef), plain::wgs84_from_ecef(ecef)));
  }
  for (const double latitude : special_degrees) {
    for (const double longitude : special_degrees) {
      const vec3 wgs84 = {latitude, longitude, 100.0};
      const vec3 ecef = plain::ecef_from_wgs84(wgs84);
      EXPECT_TRUE(plain::same(wgs84_to_ecef(wgs84), ecef));
      EXPECT_TRUE(plain::same(ecef_to_wgs84(ecef), plain::wgs84_from_ecef(ecef)));
    }
  }
}

TEST(wgs84_test, sines_and_cosines_together_are_those_taken_alone) {
  // Optimising compilers compute both with one call of sincos, others do not; the results must be the same.
  std::mt19937_64 random(13);
  for (int i = 0; i < 200000; ++i) {
    const vec3 wgs84 = random_wgs84(random);
    const geodetic_trig trig = geodetic_trig_of(wgs84);
    double sine = 0.0;
    double cosine = 0.0;
    ::sincos(plain::radians(wgs84.x), &sine, &cosine);
    ASSERT_TRUE(plain::same(trig.sin_phi, sine));
    ASSERT_TRUE(plain::same(trig.cos_phi, cosine));
    ::sincos(plain::radians(wgs84.y), &sine, &cosine);
    ASSERT_TRUE(plain::same(trig.sin_lambda, sine));
    ASSERT_TRUE(plain::same(trig.cos_lambda, cosine));
    // Called through volatile pointers, so that the compiler cannot combine two calls into one.
    double (*const volatile sine_alone)(double) = std::sin;
    double (*const volatile cosine_alone)(double) = std::cos;
    ASSERT_TRUE(plain::same(trig.sin_phi, sine_alone(plain::radians(wgs84.x))));
    ASSERT_TRUE(plain::same(trig.cos_phi, cosine_alone(plain::radians(wgs84.x))));
    ASSERT_TRUE(plain::same(trig.sin_lambda, sine_alone(plain::radians(wgs84.y))));
    ASSERT_TRUE(plain::same(trig.cos_lambda, cosine_alone(plain::radians(wgs84.y))));
  }
}

TEST(wgs84_test, shared_sines_and_cosines_change_nothing) {
  std::mt19937_64 random(14);
  for (int i = 0; i < 5000; ++i) {
    const vec3 wgs84 = random_wgs84(random);
    const vec3 ned = {1.5, -30.25, 17.0};
    const geodetic_trig trig = geodetic_trig_of(wgs84);
    ASSERT_TRUE(plain::same(wgs84_to_ecef(trig, wgs84.z), wgs84_to_ecef(wgs84)));
    ASSERT_TRUE(plain::same(ned_to_ecef_velocity(trig, ned), ned_to_ecef_velocity(wgs84, ned)));
  }
}

TEST(wgs84_test, numbers_that_are_none_come_through) {
  for (const double bad : {not_a_number, infinity, -infinity}) {
    EXPECT_TRUE(std::isnan(wgs84_to_ecef({bad, 10.0, 0.0}).x));
    EXPECT_TRUE(std::isnan(wgs84_to_ecef({10.0, bad, 0.0}).y));
    EXPECT_FALSE(std::isfinite(wgs84_to_ecef({10.0, 10.0, bad}).z));
    EXPECT_FALSE(std::isfinite(ecef_to_wgs84({bad, 1.0, 1.0}).z));
  }
  EXPECT_TRUE(std::isnan(ecef_to_wgs84({1.0, 1.0, not_a_number}).x));
  EXPECT_TRUE(std::isnan(ecef_to_wgs84({1.0, 1.0, not_a_number}).z));
  // The earth's centre has no latitude.
  EXPECT_TRUE(std::isnan(ecef_to_wgs84({0.0, 0.0, 0.0}).x));
  EXPECT_TRUE(std::isnan(ecef_to_wgs84({0.0, 0.0, 0.0}).z));
}

struct velocity_case {
  const char *name;
  vec3 wgs84;
  vec3 ned;
  vec3 expected;
};

// By looking at a globe: x points at (0, 0), y at (0, 90 east), z at the north pole.
const velocity_case velocity_cases[] = {
    {"north at the equator", {0.0, 0.0, 0.0}, {10.0, 0.0, 0.0}, {0.0, 0.0, 10.0}},
    {"east at the equator", {0.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {0.0, 10.0, 0.0}},
    {"down at the equator", {0.0, 0.0, 0.0}, {0.0, 0.0, 10.0}, {-10.0, 0.0, 0.0}},
    {"east at 90 east", {0.0, 90.0, 0.0}, {0.0, 10.0, 0.0}, {-10.0, 0.0, 0.0}},
    {"down at 90 west", {0.0, -90.0, 0.0}, {0.0, 0.0, 10.0}, {0.0, 10.0, 0.0}},
    {"down at the north pole", {90.0, 0.0, 0.0}, {0.0, 0.0, 10.0}, {0.0, 0.0, -10.0}},
    {"north at the south pole", {-90.0, 0.0, 0.0}, {10.0, 0.0, 0.0}, {10.0, 0.0, 0.0}},
    // sin 30 = 1/2, cos 30 = sqrt(3)/2
    {"north at 30 north", {30.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, {-1.0, 0.0, 1.7320508075688772}},
    {"down at 30 south", {-30.0, 180.0, 0.0}, {0.0, 0.0, 2.0}, {1.7320508075688772, 0.0, 1.0}},
};

TEST(wgs84_test, turns_north_east_down_into_ecef) {
  for (const velocity_case &c : velocity_cases) {
    SCOPED_TRACE(c.name);
    const vec3 velocity = ned_to_ecef_velocity(c.wgs84, c.ned);
    EXPECT_NEAR(velocity.x, c.expected.x, 2e-15);
    EXPECT_NEAR(velocity.y, c.expected.y, 2e-15);
    EXPECT_NEAR(velocity.z, c.expected.z, 2e-15);
  }
}

TEST(wgs84_test, velocities_have_the_bits_of_the_general_inverse) {
  std::mt19937_64 random(15);
  std::uniform_real_distribution<double> speeds(-60.0, 60.0);
  int unlike_transpose = 0;
  for (int i = 0; i < 50000; ++i) {
    const vec3 wgs84 = random_wgs84(random);
    const vec3 ned = {speeds(random), speeds(random), speeds(random)};
    const vec3 velocity = ned_to_ecef_velocity(wgs84, ned);
    ASSERT_TRUE(plain::same(velocity, plain::ecef_velocity(wgs84, ned)));
    const mat4 rows = plain::north_east_down(wgs84);
    const double by_transpose = ned.x * rows.m[0][0] + rows.m[1][0] * ned.y + rows.m[2][0] * ned.z;
    if (!plain::same_bits(velocity.x, by_transpose)) ++unlike_transpose;
  }
  EXPECT_GT(unlike_transpose, 10000);  // the comparison does find a difference
}

TEST(wgs84_test, velocities_keep_their_signed_zeros_in_every_quadrant) {
  const vec3 velocities[] = {{0.0, 0.0, 0.0},   {-0.0, -0.0, -0.0},       {0.0, -0.0, 0.0},
                             {-0.0, 0.0, -0.0}, {3.0, -0.0, 0.0},         {0.0, 5.0, -0.0},
                             {-0.0, 0.0, 7.0},  {not_a_number, 1.0, 2.0}, {1.0, infinity, 0.0}};
  for (const double latitude : special_degrees) {
    for (const double longitude : special_degrees) {
      for (const vec3 &ned : velocities) {
        const vec3 wgs84 = {latitude, longitude, 0.0};
        EXPECT_TRUE(plain::same(ned_to_ecef_velocity(wgs84, ned), plain::ecef_velocity(wgs84, ned)))
            << latitude << ' ' << longitude;
      }
    }
  }
  const vec3 ned = {1.0, 2.0, 3.0};
  for (const double bad : {not_a_number, infinity}) {
    EXPECT_TRUE(
        plain::same(ned_to_ecef_velocity(vec3{bad, 1.0, 0.0}, ned), plain::ecef_velocity({bad, 1.0, 0.0}, ned)));
    EXPECT_TRUE(
        plain::same(ned_to_ecef_velocity(vec3{1.0, bad, 0.0}, ned), plain::ecef_velocity({1.0, bad, 0.0}, ned)));
  }
}

}  // namespace

}  // namespace tarvel
