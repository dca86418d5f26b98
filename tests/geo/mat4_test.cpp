#include "geo/mat4.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

const mat4 identity = {{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};

// Every element has its own row, 1 to 3, and column, 1 to 4, as digits.
const mat4 numbered = {
    {{11.0, 12.0, 13.0, 14.0}, {21.0, 22.0, 23.0, 24.0}, {31.0, 32.0, 33.0, 34.0}, {0.0, 0.0, 0.0, 1.0}}};

mat4 random_matrix(std::mt19937_64 &random) {
  std::uniform_real_distribution<double> number(-1.0, 1.0);
  mat4 matrix;
  for (auto &row : matrix.m) {
    for (double &element : row) element = number(random);
  }
  return matrix;
}

vec3 random_position(std::mt19937_64 &random) {
  std::uniform_real_distribution<double> coordinate(-6.4e6, 6.4e6);
  return {coordinate(random), coordinate(random), coordinate(random)};
}

// A course frame somewhere on the earth.
mat4 random_frame(std::mt19937_64 &random) {
  std::uniform_real_distribution<double> latitude(-89.0, 89.0);
  std::uniform_real_distribution<double> longitude(-180.0, 180.0);
  const vec3 place = {latitude(random), longitude(random), 30.0};
  const mat4 ned = plain::north_east_down(place);
  mat4 frame = ned;
  const vec3 turned = plain::transform_vector(ned, plain::ecef_from_wgs84(place));
  frame.m[0][3] = -turned.x;
  frame.m[1][3] = -turned.y;
  frame.m[2][3] = -turned.z;
  return frame;
}

TEST(mat4_test, transforms_points_with_the_translation_and_vectors_without) {
  // 11 + 24 + 39 = 74, 21 + 44 + 69 = 134, 31 + 64 + 99 = 194
  EXPECT_TRUE(plain::same(mat4_transform_vector(numbered, {1.0, 2.0, 3.0}), {74.0, 134.0, 194.0}));
  EXPECT_TRUE(plain::same(mat4_transform_point(numbered, {1.0, 2.0, 3.0}), {88.0, 158.0, 228.0}));
}

TEST(mat4_test, keeps_signed_zeros) {
  // A sum that starts from 0.0 would give plus zeros.
  EXPECT_TRUE(plain::same(mat4_transform_vector(identity, {-0.0, -0.0, -0.0}), {-0.0, -0.0, -0.0}));
  EXPECT_TRUE(plain::same(mat4_transform_point(identity, {-0.0, -0.0, -0.0}), {0.0, 0.0, 0.0}));
  mat4 all_plus = identity;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) all_plus.m[r][c] = 1.0;
    all_plus.m[r][3] = -0.0;
  }
  EXPECT_TRUE(plain::same(mat4_transform_vector(all_plus, {-0.0, -0.0, -0.0}), {-0.0, -0.0, -0.0}));
  EXPECT_TRUE(plain::same(mat4_transform_point(all_plus, {-0.0, -0.0, -0.0}), {-0.0, -0.0, -0.0}));
}

TEST(mat4_test, adds_products_from_left_to_right_and_the_translation_last) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 20000; ++i) {
    const mat4 matrix = random_matrix(random);
    const vec3 point = random_position(random);
    ASSERT_TRUE(plain::same(mat4_transform_vector(matrix, point), plain::transform_vector(matrix, point)));
    ASSERT_TRUE(plain::same(mat4_transform_point(matrix, point), plain::transform_point(matrix, point)));
  }
}

TEST(mat4_test, inverts_by_hand_checked_numbers) {
  // Scales by 2, 4 and 8 and moves by (1, 2, 3).
  const mat4 matrix = {{{2.0, 0.0, 0.0, 1.0}, {0.0, 4.0, 0.0, 2.0}, {0.0, 0.0, 8.0, 3.0}, {0.0, 0.0, 0.0, 1.0}}};
  const mat4 expected = {
      {{0.5, 0.0, 0.0, -0.5}, {0.0, 0.25, 0.0, -0.5}, {0.0, 0.0, 0.125, -0.375}, {0.0, 0.0, 0.0, 1.0}}};
  EXPECT_EQ(mat4_inverse(matrix), expected);
  // A quarter turn about z, whose first pivot is the second row.
  const mat4 turn = {{{0.0, -1.0, 0.0, 5.0}, {1.0, 0.0, 0.0, 7.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  const mat4 back = {{{0.0, 1.0, 0.0, -7.0}, {-1.0, 0.0, 0.0, 5.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  EXPECT_EQ(mat4_inverse(turn), back);
}

TEST(mat4_test, a_frame_times_its_inverse_is_the_identity) {
  std::mt19937_64 random(6);
  for (int i = 0; i < 2000; ++i) {
    const mat4 frame = random_frame(random);
    const mat4 inverse = mat4_inverse(frame);
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) {
        double sum = 0.0;
        for (int k = 0; k < 4; ++k) sum += frame.m[r][k] * inverse.m[k][c];
        // The translation is as large as the earth.
        ASSERT_NEAR(sum, r == c ? 1.0 : 0.0, c == 3 ? 1e-8 : 1e-15);
      }
    }
  }
}

TEST(mat4_test, the_inverse_of_a_rotation_is_its_transpose_but_for_rounding) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 2000; ++i) {
    mat4 rotation = random_frame(random);
    for (int r = 0; r < 3; ++r) rotation.m[r][3] = 0.0;
    const mat4 inverse = mat4_inverse(rotation);
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) ASSERT_NEAR(inverse.m[r][c], rotation.m[c][r], 1e-15);
    }
  }
}

TEST(mat4_test, inverts_to_the_same_bits_as_four_single_solutions) {
  std::mt19937_64 random(8);
  for (int i = 0; i < 5000; ++i) {
    const mat4 matrix = random_matrix(random);
    ASSERT_TRUE(plain::same(mat4_inverse(matrix), plain::inverse(matrix)));
    const mat4 frame = random_frame(random);
    ASSERT_TRUE(plain::same(mat4_inverse(frame), plain::inverse(frame)));
  }
}

TEST(mat4_test, a_singular_matrix_inverts_to_nothing_finite) {
  const mat4 inverse = mat4_inverse(mat4());
  for (const auto &row : inverse.m) {
    for (const double element : row) EXPECT_FALSE(std::isfinite(element));
  }
}

TEST(mat4_test, turns_counter_clockwise_about_z) {
  mat4 frame = identity;
  mat4_rotate_z(frame, pi / 2.0);
  const vec3 turned = mat4_transform_point(frame, {1.0, 0.0, 5.0});
  EXPECT_NEAR(turned.x, 0.0, 1e-16);
  EXPECT_EQ(turned.y, 1.0);
  EXPECT_EQ(turned.z, 5.0);
}

TEST(mat4_test, turns_the_translation_too_and_leaves_the_last_rows) {
  std::mt19937_64 random(9);
  std::uniform_real_distribution<double> angles(-4.0, 4.0);
  for (int i = 0; i < 20000; ++i) {
    const mat4 before = random_matrix(random);
    const double angle = angles(random);
    mat4 expected = before;
    for (int k = 0; k < 4; ++k) {
      const double c0 = std::cos(angle) * before.m[0][k];
      const double s1 = std::sin(angle) * before.m[1][k];
      const double s0 = std::sin(angle) * before.m[0][k];
      const double c1 = std::cos(angle) * before.m[1][k];
      expected.m[0][k] = c0 - s1;
      expected.m[1][k] = s0 + c1;
    }
    mat4 frame = before;
    mat4_rotate_z(frame, angle);
    ASSERT_TRUE(plain::same(frame, expected));
  }
}

TEST(mat4_test, an_angle_of_zero_leaves_every_bit) {
  // By the formulas, 1 x -0 - 0 x 1 would be -0 still, but 0 x inf is not a number.
  mat4 frame = {{{-0.0, infinity, not_a_number, 0.0}, {0.0, -0.0, 1.0, -0.0}, {-0.0, 1.0, 1.0, 1.0}, {}}};
  const mat4 before = frame;
  for (const double angle : {0.0, -0.0}) {
    mat4_rotate_z(frame, angle);
    EXPECT_TRUE(plain::same(frame, before));
  }
  mat4_rotate_z(frame, 5e-324);  // the least angle has an effect
  EXPECT_FALSE(plain::same(frame, before));
}

TEST(mat4_test, builds_a_frame_from_axes_and_origin) {
  const frame_axes axes = {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}, {7.0, 8.0, 9.0}};
  // 1*1 + 2*10 + 3*100 = 321, 654, 987
  const mat4 expected = {
      {{1.0, 2.0, 3.0, -321.0}, {4.0, 5.0, 6.0, -654.0}, {7.0, 8.0, 9.0, -987.0}, {0.0, 0.0, 0.0, 1.0}}};
  EXPECT_TRUE(plain::same(mat4_from_axes(axes, {1.0, 10.0, 100.0}), expected));
}

TEST(mat4_test, a_frame_takes_its_origin_to_zero_exactly) {
  std::mt19937_64 random(10);
  for (int i = 0; i < 2000; ++i) {
    const mat4 turn = random_matrix(random);
    const frame_axes axes = {{turn.m[0][0], turn.m[0][1], turn.m[0][2]},
                             {turn.m[1][0], turn.m[1][1], turn.m[1][2]},
                             {turn.m[2][0], turn.m[2][1], turn.m[2][2]}};
    const vec3 origin = random_position(random);
    ASSERT_TRUE(plain::same(mat4_transform_point(mat4_from_axes(axes, origin), origin), {0.0, 0.0, 0.0}));
  }
}

TEST(mat4_test, turns_every_point_of_a_list) {
  std::vector<vec3> points = {{1.0, 0.0, 3.0}, {0.0, 2.0, -4.0}, {0.0, 0.0, 9.0}, {1.0, 1.0, 1.0}};
  rotate_point_list(points, pi / 2.0);
  EXPECT_NEAR(points[0].x, 0.0, 1e-16);
  EXPECT_EQ(points[0].y, 1.0);
  EXPECT_EQ(points[0].z, 3.0);
  EXPECT_EQ(points[1].x, -2.0);
  EXPECT_NEAR(points[1].y, 0.0, 2e-16);
  EXPECT_EQ(points[1].z, -4.0);
  // A point on the axis is unchanged, and does not end the list.
  EXPECT_TRUE(plain::same(points[2], {0.0, 0.0, 9.0}));
  EXPECT_NEAR(points[3].x, -1.0, 1e-15);
  EXPECT_NEAR(points[3].y, 1.0, 1e-15);
  EXPECT_EQ(points[3].z, 1.0);
}

TEST(mat4_test, turns_points_with_a_zero_and_none_behind_the_span) {
  std::vector<vec3> points = {{0.0, 1.0, 0.0}, {1.0, 0.0, 0.0}, {1.0, 1.0, 0.0}, {1.0, 1.0, 1.0}};
  rotate_point_list(std::span(points).first(3), pi);
  EXPECT_EQ(points[0].y, -1.0);
  EXPECT_EQ(points[1].x, -1.0);
  EXPECT_NEAR(points[2].x, -1.0, 1e-15);
  EXPECT_NEAR(points[2].y, -1.0, 1e-15);
  EXPECT_TRUE(plain::same(points[3], {1.0, 1.0, 1.0}));
}

TEST(mat4_test, turns_points_in_the_order_of_a_frame_matrix) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> angles(-4.0, 4.0);
  for (int i = 0; i < 20000; ++i) {
    const double angle = angles(random);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const mat4 turn = {{{c, -s, 0.0, 0.0}, {s, c, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
    const vec3 before = random_position(random);
    const vec3 turned = plain::transform_point(turn, before);
    vec3 points[] = {before};
    rotate_point_list(points, angle);
    ASSERT_TRUE(plain::same(points[0], {turned.x, turned.y, before.z}));
  }
  // The height takes part: 0 x inf is not a number.
  vec3 high[] = {{1.0, 1.0, infinity}};
  rotate_point_list(high, 1.0);
  EXPECT_TRUE(plain::same(high[0], {not_a_number, not_a_number, infinity}));
  // z is kept, not transformed: 0 x inf + z is not a number, and 0 + -0 is plus zero.
  vec3 wide[] = {{infinity, 1.0, 5.0}, {1.0, 1.0, -0.0}};
  rotate_point_list(wide, 1.0);
  EXPECT_TRUE(plain::same(wide[0].z, 5.0));
  EXPECT_TRUE(plain::same(wide[1].z, -0.0));
}

TEST(mat4_test, no_list_or_no_angle_turns_nothing) {
  rotate_point_list({}, 1.0);
  vec3 points[] = {{infinity, -0.0, 1.0}, {-0.0, 2.0, 3.0}};
  for (const double angle : {0.0, -0.0}) {
    rotate_point_list(points, angle);
    EXPECT_TRUE(plain::same(points[0], {infinity, -0.0, 1.0}));
    EXPECT_TRUE(plain::same(points[1], {-0.0, 2.0, 3.0}));
  }
}

}  // namespace

}  // namespace tarvel
