#include "chart/axes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

namespace tarvel {
namespace {

constexpr double endless = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double greatest = std::numeric_limits<double>::max();
constexpr double least = std::numeric_limits<double>::min();

struct step_case {
  std::uint32_t count;
  double range;
  double expected;
};

// range / count, then the next of 2, 2.5, 5, 10 times a power of ten above it. Exactly 2 is not below 2, and so on.
const step_case step_cases[] = {
    {10, 100.0, 10.0},
    {10, 99.0, 10.0},
    {10, 101.0, 20.0},
    {10, 20.0, 2.5},
    {10, std::nextafter(20.0, 0.0), 2.0},
    {10, 25.0, 5.0},
    {10, std::nextafter(25.0, 0.0), 2.5},
    {10, 50.0, 10.0},
    {10, std::nextafter(50.0, 0.0), 5.0},
    {10, 10.0, 1.0},  // 1 counts as 10 tenths
    {10, 11.0, 2.0},
    {1, 1000.0, 1000.0},  // 100, 10: ten is not above ten
    {1, 1001.0, 2000.0},
    {1, 0.3, 0.5},
    {1, 0.015, 0.02},
    {1, 0.001, 0.001},
    {4, 1000.0, 500.0},
    {0, 7.0, 10.0},  // a count of none is one
    {1, 1.5e300, 2e300},
    {1, 1.5e-300, 2e-300},
    {10, 0.0, 10.0},  // the rest counts as 100
    {10, -5.0, 10.0},
    {10, not_a_number, 10.0},
    {10, endless, 10.0},
    {10, -endless, 10.0},
    {4, 1e-320, 50.0},      // 25
    {2, 1.99e-304, 100.0},  // 50 counts as 5 tens
    {2, 2.01e-304, 2e-304},
    {0, endless, 100.0},
};

TEST(axes_test, takes_the_next_round_step) {
  for (const step_case &c : step_cases) {
    SCOPED_TRACE(testing::Message() << c.count << " over " << c.range);
    // Powers of ten are multiplied up one at a time; far out that rounds.
    EXPECT_NEAR(nice_step(c.count, c.range), c.expected, std::fabs(c.expected) * 1e-13);
  }
}

TEST(axes_test, scales_steps_by_ten_one_at_a_time) {
  // 2 / 10 / 10 / 10 is 0.0020000000000000000416, the double of 0.002; 2.5 * 10 * 10 is exact.
  EXPECT_EQ(nice_step(10, 0.015), 2.0 / 10.0 / 10.0 / 10.0);
  EXPECT_EQ(nice_step(10, 2100.0), 250.0);
  double step = 2.0;
  for (int i = 0; i < 30; ++i) step = step * 10.0;
  EXPECT_EQ(nice_step(1, 1.5e30), step);
  step = 5.0;
  for (int i = 0; i < 30; ++i) step = step / 10.0;
  EXPECT_EQ(nice_step(1, 3e-30), step);
}

TEST(axes_test, never_takes_a_step_below_the_range_over_the_count) {
  std::mt19937_64 random(7);
  for (int round = 0; round < 20'000; ++round) {
    const double range = std::pow(10.0, std::uniform_real_distribution<>(-298.0, 300.0)(random));
    const std::uint32_t count = 1 + static_cast<std::uint32_t>(random() % 12);
    const double step = nice_step(count, range);
    ASSERT_GE(step, range / count * (1.0 - 1e-12));
    ASSERT_LE(step, range / count * 2.0 * (1.0 + 1e-12));
  }
}

owned_record<chart> chart_of(std::initializer_list<vec2> points) {
  owned_record<chart> made = chart_new();
  owned_record<series> curve = series_new(1);
  for (const vec2 point : points) EXPECT_TRUE(series_add_point(*curve, point));
  chart_add_series(*made, std::move(curve));
  return made;
}

struct axes_case {
  const char *name;
  std::vector<vec2> points;
  bool equal_scale;
  double x_step;
  double y_step;
  axis x;
  axis y;
};

// Spans grow by 2 % on both sides and go out to half steps; worked out by hand.
const axes_case axes_cases[] = {
    // -2 and 102, half steps of 5.
    {"no points", {}, false, 0, 0, {-5, 105, 10}, {-5, 105, 10}},
    {"no points with steps of their own", {}, false, 20, 50, {-10, 110, 20}, {-25, 125, 50}},
    // A span of 0 counts as 100: 5 - 2 and 5 + 2, -30 - 2 and -30 + 2.
    {"one point", {{5, -30}}, false, 0, 0, {0, 10, 10}, {-35, -25, 10}},
    {"equal in x", {{7, 0}, {7, 1000}}, false, 0, 0, {5, 10, 10}, {-50, 1050, 100}},
    {"not finite", {{not_a_number, 5}, {endless, 1}, {1, -endless}, {3, 4}}, false, 0, 0, {0, 5, 10}, {0, 10, 10}},
    {"nothing finite", {{not_a_number, 5}, {1, -endless}}, false, 0, 0, {-5, 105, 10}, {-5, 105, 10}},
    // 0.5 - 0.38 and 19.5 + 0.38; -9.5 - 0.38.
    {"fixed steps", {{0.5, -9.5}, {19.5, 9.5}}, false, 2, 2, {0, 20, 2}, {-10, 10, 2}},
    // The margin of 0.4 goes beyond 20.
    {"already whole", {{0, 0}, {20, 10}}, false, 2, 10, {-1, 21, 2}, {-5, 15, 10}},
    {"negative", {{-310, -7}, {-130, -6}}, false, 0, 0, {-320, -120, 20}, {-7.05, -5.95, 0.1}},
    // 1000 half steps are drawn, one more is not: steps of 100 would then be automatic.
    {"most half steps", {{0, 0}, {1000, 1000.5}}, false, 2, 2, {-20, 1020, 2}, {-100, 1050 + 50, 200}},
    {"fixed steps over a vast span",
     {{0, 0}, {3e299, 1}},
     false,
     200,
     0,
     {-2.5e298, 3.25e299, 5e298},
     {-0.05, 1.05, 0.1}},
    // 10 * 100 * 1.2 / 1000 = 1.2 ticks along y.
    {"wide", {{0, 0}, {1000, 100}}, true, 0, 0, {-50, 1050, 100}, {-50, 150, 100}},
    {"as wide as high", {{0, 0}, {100, 100}}, true, 0, 0, {-5, 105, 10}, {-5, 105, 10}},
    // 101 / 100 > 1: trunc(11.88) along y, 100 / 11 = 9.09.
    {"hardly wide", {{0, 0}, {101, 100}}, true, 0, 0, {-10, 110, 20}, {-5, 105, 10}},
    // 11 ticks along y, 105 / 11 = 9.5; with ten the step would be 20.
    {"a twentieth wider than high", {{0, 0}, {110, 105}}, true, 0, 0, {-10, 120, 20}, {-5, 110, 10}},
    // trunc(10 * 39 / 100) = 3 along x: 13.
    {"high", {{0, 0}, {39, 100}}, true, 0, 0, {-10, 40, 20}, {-5, 105, 10}},
    // 12 times as wide: 1 tick, and 0, which counts as 1; 1 / 12.5 would hang.
    {"twelve times as wide", {{0, 0}, {1200, 100}}, true, 0, 0, {-100, 1300, 200}, {-50, 150, 100}},
    {"more than twelve times as wide", {{0, 0}, {2000, 100}}, true, 0, 0, {-125, 2125, 250}, {-50, 150, 100}},
    {"more than ten times as high", {{0, 0}, {80, 2000}}, true, 0, 0, {-50, 100, 100}, {-125, 2125, 250}},
    // A flat line's y span counts as 100.
    {"flat", {{0, 3}, {5000, 3}}, true, 0, 0, {-500, 5500, 1000}, {0, 50, 100}},
};

TEST(axes_test, finds_ranges_and_steps) {
  for (const axes_case &c : axes_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> source = chart_of({});
    for (const vec2 point : c.points) ASSERT_TRUE(series_add_point(*source->first_series, point));
    source->equal_scale = c.equal_scale;
    source->x_step = c.x_step;
    source->y_step = c.y_step;
    const chart_axes axes = find_axes(*source);
    EXPECT_DOUBLE_EQ(axes.x.min, c.x.min);
    EXPECT_DOUBLE_EQ(axes.x.max, c.x.max);
    EXPECT_NEAR(axes.x.step, c.x.step, c.x.step * 1e-12);
    EXPECT_DOUBLE_EQ(axes.y.min, c.y.min);
    EXPECT_DOUBLE_EQ(axes.y.max, c.y.max);
    EXPECT_DOUBLE_EQ(axes.y.step, c.y.step);
  }
}

TEST(axes_test, looks_at_every_point_of_every_series) {
  const owned_record<chart> source = chart_new();
  chart_add_series(*source, series_new(1));  // empty: the first point is in the second
  for (const vec2 point : {vec2{500.0, 700.0}, vec2{520.0, 690.0}, vec2{495.0, 710.0}}) {
    owned_record<series> curve = series_new(1);
    ASSERT_TRUE(series_add_point(*curve, point));
    chart_add_series(*source, std::move(curve));
  }
  const chart_axes axes = find_axes(*source);
  // Spans 25 and 20: steps 5 and 2.5; 494.5 .. 520.5 and 689.6 .. 710.4.
  EXPECT_EQ(axes.x.min, 492.5);
  EXPECT_EQ(axes.x.max, 522.5);
  EXPECT_EQ(axes.y.min, 688.75);
  EXPECT_EQ(axes.y.max, 711.25);
}

TEST(axes_test, takes_a_point_whose_one_coordinate_is_not_finite_for_neither_axis) {
  const owned_record<chart> source = chart_of({{-1e6, not_a_number}, {endless, 1e6}, {1.0, 1.0}, {2.0, 2.0}});
  const chart_axes axes = find_axes(*source);
  EXPECT_NEAR(axes.x.min, 0.95, 1e-12);
  EXPECT_NEAR(axes.y.max, 2.05, 1e-12);
}

// Larger coordinates cannot be scaled to a page without overflow.
TEST(axes_test, looks_at_coordinates_up_to_5e304) {
  const double beyond = std::nextafter(5e304, endless);
  const chart_axes axes =
      find_axes(*chart_of({{-5e304, 0.0}, {5e304, 5e304}, {beyond, 0.0}, {0.0, -beyond}, {greatest, greatest}}));
  // Half steps of 1e304 and 5e303: ends with their margins are 5.2 of the one, and -0.2 and 10.2 of the other.
  EXPECT_NEAR(axes.x.min, -6e304, 1e291);
  EXPECT_NEAR(axes.x.max, 6e304, 1e291);
  EXPECT_NEAR(axes.y.min, -5e303, 1e291);
  EXPECT_NEAR(axes.y.max, 5.5e304, 1e291);
}

// Their span is lost when the ends are rounded to half steps; the range then gets at least 1 on both sides.
TEST(axes_test, gives_room_to_neighbouring_numbers) {
  const double low = 429.0 / 1024.0;
  const double high = std::nextafter(low, 1.0);
  const chart_axes axes = find_axes(*chart_of({{low, 0.0}, {high, 1.0}}));
  EXPECT_EQ(axes.x.min, low - 1.0);
  EXPECT_EQ(axes.x.max, high + 1.0);
  EXPECT_DOUBLE_EQ(axes.x.step, 0.25);
}

bool is_sound(const axis &range, bool is_automatic) {
  const double ticks = (range.max - range.min) / (range.step / 2.0);
  return std::isfinite(range.min) && std::isfinite(range.max) && range.min < range.max &&
         range.max - range.min < 1.2e305 && range.max - range.min > 1e-304 && range.step > 0.0 &&
         std::isfinite(range.step) && ticks <= (is_automatic ? 40.0 : 1100.0);
}

TEST(axes_test, always_ends_with_finite_increasing_ranges_of_few_ticks) {
  const double values[] = {0.0,   -0.0,   5e-324,   -5e-324,   least,        1e-300, 1e-9,   1.0,
                           -1.0,  1e9,    1e15,     1e16,      1e17,         1e150,  -1e150, 5e304,
                           1e308, -1e308, greatest, -greatest, 1e15 + 0.125, -1e17,  4.4e307};
  for (const double x1 : values) {
    for (const double x2 : values) {
      for (const double y1 : {0.0, 1e-304, 1e17, -5e304, -1e308, greatest}) {
        for (const double y2 : {0.0, 1.0, 1e17, 1e308}) {
          for (const bool equal_scale : {false, true}) {
            const owned_record<chart> source = chart_of({{x1, y1}, {x2, y2}});
            source->equal_scale = equal_scale;
            const chart_axes axes = find_axes(*source);
            ASSERT_TRUE(is_sound(axes.x, true)) << x1 << ' ' << x2 << ' ' << axes.x.min << ' ' << axes.x.max << ' '
                                                << axes.x.step << " equal " << equal_scale << ' ' << y1 << ' ' << y2;
            ASSERT_TRUE(is_sound(axes.y, true)) << y1 << ' ' << y2 << ' ' << axes.y.min << ' ' << axes.y.max << ' '
                                                << axes.y.step << " equal " << equal_scale << ' ' << x1 << ' ' << x2;
            source->x_step = 200.0;
            ASSERT_TRUE(is_sound(find_axes(*source).x, false)) << x1 << ' ' << x2;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace tarvel
