#include "geo/course_frame.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "geo/wgs84.h"
#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

double dot(const vec3 &a, const vec3 &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

double length(const vec3 &v) {
  const double plan = v.x * v.x + v.y * v.y;
  return std::sqrt(plan + v.z * v.z);
}

vec3 minus(const vec3 &a, const vec3 &b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

vec3 cross(const vec3 &a, const vec3 &b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

vec3 over_length(const vec3 &v) { return {v.x / length(v), v.y / length(v), v.z / length(v)}; }

// The places of a walk: some latitude and longitude each, in both hemispheres.
const vec3 places[] = {
    {0.0, 0.0, 0.0}, {47.0, 11.0, 500.0}, {-33.9, 151.2, 5.0}, {28.0, -82.0, 20.0}, {65.0, -170.0, 0.0}};

// A point by metres north and east of a place, at its height.
vec3 beside(const vec3 &place, double north, double east) {
  const double radius = 6378137.0;
  const double degree = 3.141592653589793 / 180.0;
  return wgs84_to_ecef(vec3{place.x + north / radius / degree,
                            place.y + east / (radius * std::cos(place.x * degree)) / degree, place.z});
}

void expect_right_handed(const frame_axes &axes) {
  EXPECT_NEAR(length(axes.x), 1.0, 4e-16);
  EXPECT_NEAR(length(axes.y), 1.0, 4e-16);
  EXPECT_NEAR(length(axes.z), 1.0, 4e-16);
  EXPECT_NEAR(dot(axes.x, axes.y), 0.0, 1e-12);
  EXPECT_NEAR(dot(axes.x, axes.z), 0.0, 1e-12);
  EXPECT_NEAR(dot(axes.y, axes.z), 0.0, 1e-12);
  EXPECT_NEAR(dot(cross(axes.x, axes.y), axes.z), 1.0, 1e-12);
}

TEST(course_frame_test, a_square_walked_counter_clockwise_has_b_on_the_left) {
  for (const vec3 &place : places) {
    SCOPED_TRACE(place.y);
    // Seen from above: c in the south-west, a in the south-east, b in the north-east; c to a to b turns left.
    const vec3 a = beside(place, 0.0, 70.0);
    const vec3 b = beside(place, 70.0, 70.0);
    const vec3 c = beside(place, 0.0, 0.0);
    frame_axes axes;
    bool clockwise = true;
    frame_from_course_points(a, b, c, axes, clockwise);
    EXPECT_FALSE(clockwise);
    expect_right_handed(axes);
    EXPECT_NEAR(dot(axes.x, minus(a, c)), length(minus(a, c)), 1e-9);
    EXPECT_GT(dot(axes.y, minus(b, c)), 60.0);
    EXPECT_GT(dot(axes.z, over_length(c)), 0.99);
  }
}

TEST(course_frame_test, a_square_walked_clockwise_is_flagged_and_has_b_on_the_right) {
  for (const vec3 &place : places) {
    SCOPED_TRACE(place.y);
    const vec3 a = beside(place, 0.0, 70.0);
    const vec3 b = beside(place, -70.0, 70.0);
    const vec3 c = beside(place, 0.0, 0.0);
    frame_axes axes;
    bool clockwise = false;
    frame_from_course_points(a, b, c, axes, clockwise);
    EXPECT_TRUE(clockwise);
    expect_right_handed(axes);
    EXPECT_NEAR(dot(axes.x, minus(a, c)), length(minus(a, c)), 1e-9);
    EXPECT_LT(dot(axes.y, minus(b, c)), -60.0);
    EXPECT_GT(dot(axes.z, over_length(c)), 0.99);
  }
}

TEST(course_frame_test, course_axes_by_hand) {
  // On the x axis of the earth: u = (0, 3, 0) east, w = (0, 0, 4) north, n = (12, 0, 0) up.
  frame_axes axes;
  bool clockwise = true;
  frame_from_course_points({100.0, 3.0, 0.0}, {100.0, 0.0, 4.0}, {100.0, 0.0, 0.0}, axes, clockwise);
  EXPECT_FALSE(clockwise);
  EXPECT_TRUE(plain::same(axes.x, {0.0, 1.0, 0.0}));
  EXPECT_TRUE(plain::same(axes.y, {0.0, 0.0, 1.0}));
  EXPECT_TRUE(plain::same(axes.z, {1.0, 0.0, 0.0}));
  // With a normal of length 0 neither side is nearer: the flag is only set for a strictly shorter sum.
  frame_from_course_points({101.0, 0.0, 0.0}, {102.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, axes, clockwise);
  EXPECT_FALSE(clockwise);
}

TEST(course_frame_test, a_negated_normal_negates_its_zeros) {
  // u = (0, 3, 0), w = (0, 0, -4): n = (-12, 0, 0) is turned to (12, -0, -0).
  frame_axes axes;
  bool clockwise = false;
  frame_from_course_points({100.0, 3.0, 0.0}, {100.0, 0.0, -4.0}, {100.0, 0.0, 0.0}, axes, clockwise);
  EXPECT_TRUE(clockwise);
  EXPECT_TRUE(plain::same(axes.z, {1.0, -0.0, -0.0}));
}

TEST(course_frame_test, course_axes_have_the_plain_bits) {
  std::mt19937_64 random(20);
  std::uniform_real_distribution<double> metres(-200.0, 200.0);
  for (int i = 0; i < 5000; ++i) {
    const vec3 &place = places[static_cast<std::size_t>(i) % std::size(places)];
    const vec3 a = beside(place, metres(random), metres(random));
    const vec3 b = beside(place, metres(random), metres(random));
    const vec3 c = beside(place, metres(random), metres(random));
    const vec3 u = minus(a, c);
    vec3 n = cross(u, minus(b, c));
    const bool turned = length(c) > length({c.x + n.x, c.y + n.y, c.z + n.z});
    if (turned) n = {-n.x, -n.y, -n.z};
    frame_axes axes;
    bool clockwise = !turned;
    frame_from_course_points(a, b, c, axes, clockwise);
    ASSERT_EQ(clockwise, turned);
    ASSERT_TRUE(plain::same(axes.x, over_length(u)));
    ASSERT_TRUE(plain::same(axes.y, over_length(cross(n, u))));
    ASSERT_TRUE(plain::same(axes.z, over_length(n)));
  }
}

TEST(course_frame_test, vertical_frame_by_hand) {
  // Up is (0, 0, 1); ahead lies 5 m along -x and 7 m lower.
  frame_axes axes;
  frame_from_vertical({1.0, 2.0, 103.0}, {1.0, 2.0, 3.0}, {-4.0, 2.0, -4.0}, axes);
  EXPECT_EQ(axes.x.x, -1.0);
  EXPECT_EQ(axes.x.y, 0.0);
  EXPECT_EQ(axes.x.z, 0.0);
  EXPECT_EQ(axes.y.x, 0.0);
  EXPECT_EQ(axes.y.y, -1.0);  // z cross x
  EXPECT_EQ(axes.y.z, 0.0);
  EXPECT_EQ(axes.z.x, 0.0);
  EXPECT_EQ(axes.z.y, 0.0);
  EXPECT_EQ(axes.z.z, 1.0);
}

TEST(course_frame_test, vertical_frame_has_the_plain_bits_and_a_horizontal_x_axis) {
  std::mt19937_64 random(21);
  std::uniform_real_distribution<double> metres(-300.0, 300.0);
  for (int i = 0; i < 5000; ++i) {
    const vec3 &place = places[static_cast<std::size_t>(i) % std::size(places)];
    const vec3 above = wgs84_to_ecef(vec3{place.x, place.y, place.z + 100.0});
    const vec3 origin = wgs84_to_ecef(place);
    const vec3 ahead = beside(place, metres(random), metres(random));
    const vec3 u = minus(above, origin);
    const vec3 w = minus(ahead, origin);
    const vec3 n = cross(u, w);
    frame_axes axes;
    frame_from_vertical(above, origin, ahead, axes);
    ASSERT_TRUE(plain::same(axes.x, over_length(cross(n, u))));
    ASSERT_TRUE(plain::same(axes.y, over_length(n)));
    ASSERT_TRUE(plain::same(axes.z, over_length(u)));
    ASSERT_GT(dot(axes.x, w), 0.0);
    ASSERT_NEAR(dot(axes.y, w), 0.0, 1e-6);
    expect_right_handed(axes);
  }
}

// x east, y north, z up at a place.
mat4 level_frame(const vec3 &place) {
  const mat4 ned = plain::north_east_down(place);
  const auto &m = ned.m;
  return mat4_from_axes({{m[1][0], m[1][1], m[1][2]}, {m[0][0], m[0][1], m[0][2]}, {-m[2][0], -m[2][1], -m[2][2]}},
                        wgs84_to_ecef(place));
}

TEST(course_frame_test, entry_gate_ends_stand_5_m_to_both_sides_and_1_5_m_up) {
  for (const vec3 &place : places) {
    SCOPED_TRACE(place.y);
    const mat4 frame = level_frame(place);
    const std::array<vec3, 2> ends = entry_gate_ends(frame);
    // The +y end, here the northern one, comes first.
    EXPECT_GT(ends[0].x, ends[1].x);
    EXPECT_NEAR(ends[0].z, place.z + 1.5, 1e-4);
    EXPECT_NEAR(ends[1].z, place.z + 1.5, 1e-4);
    for (int i = 0; i < 2; ++i) {
      const vec3 local = mat4_transform_point(frame, wgs84_to_ecef(ends[static_cast<std::size_t>(i)]));
      EXPECT_NEAR(local.x, 0.0, 1e-7);
      EXPECT_NEAR(local.y, i == 0 ? 5.0 : -5.0, 1e-7);
      EXPECT_NEAR(local.z, 1.5, 1e-7);
    }
    const mat4 to_ecef = plain::inverse(frame);
    EXPECT_TRUE(plain::same(ends[0], plain::wgs84_from_ecef(plain::transform_point(to_ecef, {0.0, 5.0, 1.5}))));
    EXPECT_TRUE(plain::same(ends[1], plain::wgs84_from_ecef(plain::transform_point(to_ecef, {0.0, -5.0, 1.5}))));
  }
}

TEST(course_frame_test, the_carve_arc_is_70_m_long) {
  EXPECT_NEAR(carve_radius * plain::radians(carve_angle_degrees), 70.0, 1e-13);
}

TEST(course_frame_test, carve_gate_points_lie_on_three_circles) {
  const carve_gate gate = carve_gate_points(carve_angle_degrees, carve_radius, carve_gate_width);
  // 50 digits, mpmath: sin 75 = 0.9659..., cos 75 = 0.2588..., radii 48.476..., 53.476... and 58.476...
  EXPECT_NEAR(gate.inner.x, 46.824279159668286181, 1e-14);
  EXPECT_NEAR(gate.inner.y, 40.929533091874270338, 1e-14);
  EXPECT_NEAR(gate.centre.x, 51.653908291113627615, 1e-14);
  EXPECT_NEAR(gate.centre.y, 39.635437866361666526, 1e-14);
  EXPECT_NEAR(gate.outer.x, 56.483537422558969049, 1e-14);
  EXPECT_NEAR(gate.outer.y, 38.341342640849062715, 1e-14);
  EXPECT_TRUE(plain::same(gate.inner.z, 0.0));
  EXPECT_TRUE(plain::same(gate.centre.z, 0.0));
  EXPECT_TRUE(plain::same(gate.outer.z, 0.0));
}

TEST(course_frame_test, carve_gate_points_have_the_plain_bits) {
  std::mt19937_64 random(22);
  std::uniform_real_distribution<double> numbers(0.0, 100.0);
  for (int i = 0; i < 20000; ++i) {
    const double angle = numbers(random);
    const double radius = numbers(random);
    const double width = numbers(random);
    const double x = plain::radians(angle);
    const double inner = radius - width / 2.0;
    const double outer = width / 2.0 + radius;
    const carve_gate gate = carve_gate_points(angle, radius, width);
    ASSERT_TRUE(plain::same(gate.inner, {inner * std::sin(x), radius - inner * std::cos(x), 0.0}));
    ASSERT_TRUE(plain::same(gate.centre, {radius * std::sin(x), radius - radius * std::cos(x), 0.0}));
    ASSERT_TRUE(plain::same(gate.outer, {outer * std::sin(x), radius - outer * std::cos(x), 0.0}));
  }
}

}  // namespace

}  // namespace tarvel
