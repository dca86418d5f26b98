#include "geo/vec3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

vec3 random_vector(std::mt19937_64 &random) {
  std::uniform_real_distribution<double> coordinate(-6.4e6, 6.4e6);
  return {coordinate(random), coordinate(random), coordinate(random)};
}

TEST(vec3_test, subtracts_the_first_from_the_second) {
  EXPECT_TRUE(plain::same(vec3_sub({1.0, 2.0, 3.0}, {10.0, 7.0, -1.0}), {9.0, 5.0, -4.0}));
  const vec2 way = vec2_sub({1.0, 2.0}, {10.0, -7.0});
  EXPECT_EQ(way.x, 9.0);
  EXPECT_EQ(way.y, -9.0);
}

TEST(vec3_test, a_vector_from_a_point_to_itself_is_plus_zero) {
  EXPECT_TRUE(plain::same(vec3_sub({-1.0, 2.0, -0.0}, {-1.0, 2.0, -0.0}), {0.0, 0.0, 0.0}));
}

struct cross_case {
  const char *name;
  vec3 a;
  vec3 b;
  vec3 expected;
};

const cross_case cross_cases[] = {
    {"x cross y is z", {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}},
    {"y cross z is x", {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}},
    {"z cross x is y", {0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}},
    // 2*7 - 3*6, 3*5 - 1*7, 1*6 - 2*5
    {"small numbers", {1.0, 2.0, 3.0}, {5.0, 6.0, 7.0}, {-4.0, 8.0, -4.0}},
    {"parallel", {1.0, 2.0, 3.0}, {2.0, 4.0, 6.0}, {0.0, 0.0, 0.0}},
    // -0*0 - 0*0 = -0 - 0 keeps its sign
    {"negative zeros", {-0.0, -0.0, 0.0}, {0.0, 0.0, 0.0}, {-0.0, 0.0, 0.0}},
};

TEST(vec3_test, crosses_right_handed) {
  for (const cross_case &c : cross_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(plain::same(vec3_cross(c.a, c.b), c.expected));
  }
}

TEST(vec3_test, measures_lengths_and_distances) {
  EXPECT_EQ(vec3_length({2.0, -3.0, 6.0}), 7.0);
  EXPECT_EQ(vec3_length({0.0, 0.0, -0.0}), 0.0);
  EXPECT_EQ(distance_3d({1.0, 1.0, 1.0}, {3.0, -2.0, 7.0}), 7.0);
  EXPECT_EQ(distance_2d({1.0, 1.0, 1.0}, {4.0, 5.0, 700.0}), 5.0);
  EXPECT_EQ(distance_2d({1.0, 1.0, not_a_number}, {4.0, 5.0, infinity}), 5.0);
  EXPECT_EQ(vec2_distance({-1.0, 2.0}, {-13.0, 7.0}), 13.0);
  EXPECT_TRUE(std::isnan(distance_2d({not_a_number, 0.0, 0.0}, {0.0, 0.0, 0.0})));
}

TEST(vec3_test, takes_the_plan_position) {
  const vec2 plan = vec3_xy({4.0, -5.0, 6.0});
  EXPECT_EQ(plan.x, 4.0);
  EXPECT_EQ(plan.y, -5.0);
}

TEST(vec3_test, multiplies_plan_vectors) {
  EXPECT_EQ(vec2_dot({2.0, 3.0}, {5.0, -7.0}), -11.0);
  EXPECT_EQ(vec2_cross({2.0, 3.0}, {5.0, -7.0}), -29.0);
  EXPECT_EQ(vec2_cross({1.0, 0.0}, {0.0, 1.0}), 1.0);  // to the left
  EXPECT_TRUE(plain::same(vec2_dot({-0.0, 0.0}, {1.0, -1.0}), -0.0));
}

TEST(vec3_test, squares_overflow_as_the_plain_formula_does) {
  EXPECT_EQ(vec3_length({1e200, 0.0, 0.0}), infinity);
  EXPECT_EQ(vec3_length({1e-200, 0.0, 0.0}), 0.0);
  EXPECT_EQ(vec2_distance({0.0, 0.0}, {1e200, 0.0}), infinity);
}

TEST(vec3_test, adds_the_squares_from_left_to_right) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const vec3 a = random_vector(random);
    const vec3 b = random_vector(random);
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double dz = b.z - a.z;
    const double plan = dx * dx + dy * dy;
    ASSERT_TRUE(plain::same(distance_3d(a, b), std::sqrt(plan + dz * dz)));
    ASSERT_TRUE(plain::same(distance_2d(a, b), std::sqrt(plan)));
    ASSERT_TRUE(plain::same(vec2_distance(vec3_xy(a), vec3_xy(b)), std::sqrt(plan)));
    const double x = a.y * b.z - a.z * b.y;
    const double y = a.z * b.x - a.x * b.z;
    const double z = a.x * b.y - a.y * b.x;
    ASSERT_TRUE(plain::same(vec3_cross(a, b), {x, y, z}));
  }
}

}  // namespace

}  // namespace tarvel
