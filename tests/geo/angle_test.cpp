#include "geo/angle.h"

#include <gtest/gtest.h>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

struct angle_case {
  const char *name;
  double given;
  double expected;
};

// Each of these has another last digit when a precomputed pi / 180 is used; worked out with Python's floats.
const angle_case radian_cases[] = {
    {"3 degrees", 3.0, 0.05235987755982988},     {"24 degrees", 24.0, 0.41887902047863906},
    {"-48 degrees", -48.0, -0.8377580409572781}, {"96 degrees", 96.0, 1.6755160819145563},
    {"161 degrees", 161.0, 2.8099800957108703},  {"a ten-thousandth", 0.0001, 1.7453292519943294e-06},
    {"359 degrees", 359.0, 6.265732014659642},
};

TEST(angle_test, multiplies_degrees_by_pi_before_it_divides) {
  for (const angle_case &c : radian_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(plain::same(radians_from_degrees(c.given), c.expected));
  }
}

// Likewise with 180 / pi.
const angle_case degree_cases[] = {
    {"a tenth", 0.1, 5.729577951308232},
    {"about 75 degrees", 1.309, 75.00017538262475},
    {"negative", -0.1, -5.729577951308232},
};

TEST(angle_test, multiplies_radians_by_180_before_it_divides) {
  for (const angle_case &c : degree_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(plain::same(degrees_from_radians(c.given), c.expected));
  }
}

TEST(angle_test, agrees_with_the_plain_formula_at_every_hundredth_of_a_degree) {
  for (int i = -36000; i <= 36000; ++i) {
    const double degrees = i / 100.0;
    ASSERT_TRUE(plain::same(radians_from_degrees(degrees), plain::radians(degrees))) << degrees;
    const double radians = i / 5000.0;
    ASSERT_TRUE(plain::same(degrees_from_radians(radians), plain::degrees(radians))) << radians;
  }
}

TEST(angle_test, keeps_the_sign_of_a_zero_and_the_half_turn) {
  EXPECT_TRUE(plain::same(radians_from_degrees(-0.0), -0.0));
  EXPECT_TRUE(plain::same(degrees_from_radians(-0.0), -0.0));
  EXPECT_EQ(radians_from_degrees(180.0), pi);
  EXPECT_EQ(degrees_from_radians(pi), 180.0);
}

}  // namespace

}  // namespace tarvel
