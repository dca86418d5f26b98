#include "geo/plane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

TEST(plane_test, interpolates_on_the_line) {
  EXPECT_EQ(interpolate(10.0, 20.0, 0.0, 4.0, 1.0), 12.5);
  EXPECT_EQ(interpolate(20.0, 10.0, 0.0, 4.0, 1.0), 17.5);
  EXPECT_EQ(interpolate(10.0, 20.0, 4.0, 0.0, 1.0), 17.5);
  EXPECT_EQ(interpolate(10.0, 20.0, 0.0, 4.0, 8.0), 30.0);  // beyond the second point
  EXPECT_EQ(interpolate(10.0, 20.0, 0.0, 4.0, -4.0), 0.0);  // before the first
  EXPECT_EQ(interpolate(3.25, 7.75, 1.0, 5.0, 1.0), 3.25);
  EXPECT_EQ(interpolate(3.25, 7.75, 1.0, 5.0, 5.0), 7.75);
}

TEST(plane_test, interpolates_between_equal_places_to_no_number) {
  EXPECT_EQ(interpolate(1.0, 2.0, 3.0, 3.0, 4.0), infinity);
  EXPECT_EQ(interpolate(2.0, 1.0, 3.0, 3.0, 4.0), -infinity);
  EXPECT_TRUE(std::isnan(interpolate(1.0, 2.0, 3.0, 3.0, 3.0)));
}

TEST(plane_test, interpolates_by_multiplying_before_dividing) {
  std::mt19937_64 random(17);
  std::uniform_real_distribution<double> number(-100.0, 100.0);
  for (int i = 0; i < 50000; ++i) {
    const double y0 = number(random);
    const double y1 = number(random);
    const double x0 = number(random);
    const double x1 = number(random);
    const double x = number(random);
    const double product = (y1 - y0) * (x - x0);
    const double quotient = product / (x1 - x0);
    ASSERT_TRUE(plain::same(interpolate(y0, y1, x0, x1, x), quotient + y0));
  }
}

TEST(plane_test, compares_points_exactly) {
  EXPECT_TRUE(points_equal({1.0, 2.0}, {1.0, 2.0}));
  EXPECT_TRUE(points_equal({0.0, 0.0}, {-0.0, 0.0}));
  EXPECT_FALSE(points_equal({1.0, 2.0}, {1.0, std::nextafter(2.0, 3.0)}));
  EXPECT_FALSE(points_equal({1.0, 2.0}, {std::nextafter(1.0, 2.0), 2.0}));
  EXPECT_FALSE(points_equal({not_a_number, 2.0}, {not_a_number, 2.0}));
  EXPECT_FALSE(points_equal({1.0, not_a_number}, {1.0, not_a_number}));
}

constexpr segment2 untouched = {7.0, 7.0, 7.0, 7.0};

struct intersection_case {
  const char *name;
  segment2 first;
  segment2 second;
  bool expected;
  segment2 common = untouched;
};

const intersection_case intersection_cases[] = {
    {"a cross", {0.0, 0.0, 4.0, 4.0}, {0.0, 4.0, 4.0, 0.0}, true, {2.0, 2.0, 2.0, 2.0}},
    {"a cross off the middle", {0.0, 0.0, 8.0, 0.0}, {2.0, -1.0, 2.0, 3.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"the other way round", {2.0, 3.0, 2.0, -1.0}, {8.0, 0.0, 0.0, 0.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"the first one's start on the second", {2.0, 0.0, 2.0, 5.0}, {0.0, 0.0, 4.0, 0.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"the first one's end on the second", {2.0, 5.0, 2.0, 0.0}, {0.0, 0.0, 4.0, 0.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"the second one's start on the first", {0.0, 0.0, 4.0, 0.0}, {2.0, 0.0, 2.0, 5.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"the second one's end on the first", {0.0, 0.0, 4.0, 0.0}, {2.0, 5.0, 2.0, 0.0}, true, {2.0, 0.0, 2.0, 0.0}},
    {"shared starts", {1.0, 1.0, 4.0, 1.0}, {1.0, 1.0, 1.0, 4.0}, true, {1.0, 1.0, 1.0, 1.0}},
    {"shared ends", {4.0, 1.0, 1.0, 1.0}, {1.0, 4.0, 1.0, 1.0}, true, {1.0, 1.0, 1.0, 1.0}},
    {"t just below 0", {2.0, 0x1p-40, 2.0, 1.0}, {0.0, 0.0, 4.0, 0.0}, false},
    {"t just above 1", {2.0, 1.0, 2.0, 0x1p-40}, {0.0, 0.0, 4.0, 0.0}, false},
    {"u just below 0", {0.0, 0.0, 4.0, 0.0}, {2.0, 0x1p-40, 2.0, 1.0}, false},
    {"u just above 1", {0.0, 0.0, 4.0, 0.0}, {2.0, 1.0, 2.0, 0x1p-40}, false},
    {"parallel and apart", {0.0, 0.0, 4.0, 0.0}, {0.0, 1.0, 4.0, 1.0}, false},
    {"antiparallel and apart", {0.0, 0.0, 4.0, 4.0}, {5.0, 4.0, 1.0, 0.0}, false},
    {"collinear and apart behind", {0.0, 0.0, 4.0, 0.0}, {5.0, 0.0, 6.0, 0.0}, false},
    {"collinear and apart before", {0.0, 0.0, 4.0, 0.0}, {-2.0, 0.0, -1.0, 0.0}, false},
    {"collinear and apart, backwards", {0.0, 0.0, 4.0, 0.0}, {6.0, 0.0, 5.0, 0.0}, false},
    {"collinear, touching behind", {0.0, 0.0, 4.0, 0.0}, {4.0, 0.0, 6.0, 0.0}, true, {4.0, 0.0, 4.0, 0.0}},
    {"collinear, touching before", {0.0, 0.0, 4.0, 0.0}, {-3.0, 0.0, 0.0, 0.0}, true, {0.0, 0.0, 0.0, 0.0}},
    {"collinear, just behind", {0.0, 0.0, 4.0, 0.0}, {4.0 + 0x1p-40, 0.0, 6.0, 0.0}, false},
    {"collinear, just before", {0.0, 0.0, 4.0, 0.0}, {-3.0, 0.0, -0x1p-40, 0.0}, false},
    {"overlap at the end", {0.0, 0.0, 4.0, 4.0}, {1.0, 1.0, 9.0, 9.0}, true, {1.0, 1.0, 4.0, 4.0}},
    {"overlap at the start", {0.0, 0.0, 4.0, 4.0}, {-3.0, -3.0, 1.0, 1.0}, true, {0.0, 0.0, 1.0, 1.0}},
    {"overlap, backwards", {0.0, 0.0, 4.0, 4.0}, {9.0, 9.0, 1.0, 1.0}, true, {1.0, 1.0, 4.0, 4.0}},
    {"the second inside the first", {0.0, 0.0, 0.0, 8.0}, {0.0, 2.0, 0.0, 6.0}, true, {0.0, 2.0, 0.0, 6.0}},
    {"the second inside, backwards", {0.0, 0.0, 0.0, 8.0}, {0.0, 6.0, 0.0, 2.0}, true, {0.0, 2.0, 0.0, 6.0}},
    {"the first inside the second", {0.0, 2.0, 0.0, 6.0}, {0.0, 0.0, 0.0, 8.0}, true, {0.0, 2.0, 0.0, 6.0}},
    {"the second a point on the first", {0.0, 0.0, 4.0, 0.0}, {1.0, 0.0, 1.0, 0.0}, true, {1.0, 0.0, 1.0, 0.0}},
    {"no number in the first", {not_a_number, 0.0, 4.0, 4.0}, {0.0, 4.0, 4.0, 0.0}, false},
    {"no number in the second", {0.0, 0.0, 4.0, 4.0}, {0.0, 4.0, 4.0, not_a_number}, false},
    // The way between the two points overflows: inf x 0 is not a number.
    {"points too far apart for a number", {-1e308, 0.0, -1e308, 0.0}, {1e308, 0.0, 1e308, 0.0}, false},
};

TEST(plane_test, finds_the_common_part_of_two_segments) {
  for (const intersection_case &c : intersection_cases) {
    SCOPED_TRACE(c.name);
    segment2 common = untouched;
    EXPECT_EQ(segment_intersection(c.first, c.second, common), c.expected);
    EXPECT_EQ(common.x1, c.common.x1);
    EXPECT_EQ(common.y1, c.common.y1);
    EXPECT_EQ(common.x2, c.common.x2);
    EXPECT_EQ(common.y2, c.common.y2);
  }
}

TEST(plane_test, places_a_crossing_on_the_first_segment) {
  std::mt19937_64 random(18);
  std::uniform_real_distribution<double> number(-100.0, 100.0);
  int crossings = 0;
  for (int i = 0; i < 50000; ++i) {
    const segment2 first = {number(random), number(random), number(random), number(random)};
    const segment2 second = {number(random), number(random), number(random), number(random)};
    const double rx = first.x2 - first.x1;
    const double ry = first.y2 - first.y1;
    const double sx = second.x2 - second.x1;
    const double sy = second.y2 - second.y1;
    const double qpx = second.x1 - first.x1;
    const double qpy = second.y1 - first.y1;
    const double rs = rx * sy - ry * sx;
    const double t = (qpx * sy - qpy * sx) / rs;
    const double u = (qpx * ry - qpy * rx) / rs;
    segment2 common = untouched;
    const bool expected = t >= 0.0 && t <= 1.0 && u >= 0.0 && u <= 1.0;
    ASSERT_EQ(segment_intersection(first, second, common), expected);
    if (!expected) continue;
    ++crossings;
    ASSERT_TRUE(plain::same(common.x1, first.x1 + t * rx));
    ASSERT_TRUE(plain::same(common.y1, first.y1 + t * ry));
    ASSERT_TRUE(points_equal({common.x1, common.y1}, {common.x2, common.y2}));
  }
  EXPECT_GT(crossings, 5000);
}

TEST(plane_test, crosses_infinite_lines) {
  const vec2 inside = line_intersection({0.0, 0.0, 4.0, 4.0}, {0.0, 4.0, 4.0, 0.0});
  EXPECT_EQ(inside.x, 2.0);
  EXPECT_EQ(inside.y, 2.0);
  // y = 1 and x = 10, far from both segments
  const vec2 outside = line_intersection({0.0, 1.0, 2.0, 1.0}, {10.0, 5.0, 10.0, 7.0});
  EXPECT_EQ(outside.x, 10.0);
  EXPECT_EQ(outside.y, 1.0);
  // y = x / 2 + 1 and y = -x + 7
  const vec2 sloped = line_intersection({0.0, 1.0, 2.0, 2.0}, {7.0, 0.0, 0.0, 7.0});
  EXPECT_EQ(sloped.x, 4.0);
  EXPECT_EQ(sloped.y, 3.0);
}

TEST(plane_test, parallel_lines_do_not_cross) {
  const vec2 apart = line_intersection({0.0, 0.0, 1.0, 1.0}, {0.0, 1.0, 1.0, 2.0});
  EXPECT_FALSE(std::isfinite(apart.x));
  EXPECT_FALSE(std::isfinite(apart.y));
  const vec2 same_line = line_intersection({0.0, 0.0, 1.0, 1.0}, {0.0, 0.0, 1.0, 1.0});
  EXPECT_TRUE(std::isnan(same_line.x));
  EXPECT_TRUE(std::isnan(same_line.y));
}

TEST(plane_test, crosses_lines_with_the_operations_of_the_plain_elimination) {
  std::mt19937_64 random(19);
  std::uniform_real_distribution<double> number(-100.0, 100.0);
  for (int i = 0; i < 50000; ++i) {
    const segment2 lines[] = {{number(random), number(random), number(random), number(random)},
                              {number(random), number(random), number(random), number(random)}};
    double system[4][5] = {};
    for (int r = 0; r < 2; ++r) {
      const segment2 &line = lines[r];
      const double a = line.y2 - line.y1;
      const double b = line.x1 - line.x2;
      const double first = line.y1 * b;
      const double second = a * line.x1;
      system[r][0] = a;
      system[r][1] = b;
      system[r][2] = first + second;
    }
    plain::solve(system, 2);
    const vec2 crossing = line_intersection(lines[0], lines[1]);
    ASSERT_TRUE(plain::same(crossing.x, system[0][2]));
    ASSERT_TRUE(plain::same(crossing.y, system[1][2]));
  }
}

}  // namespace

}  // namespace tarvel
