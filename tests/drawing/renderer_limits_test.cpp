// Charts of extreme numbers: each must be drawn in a short time and with few words.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <ctime>
#include <iterator>
#include <limits>
#include <random>

#include "drawing/renderer.h"
#include "support/drawing_log.h"

namespace tarvel {
namespace {

constexpr std::size_t most_words = 100;
constexpr std::size_t most_words_with_fixed_steps = 1100;

owned_record<chart> chart_of(const std::vector<vec2> &points) {
  owned_record<chart> made = chart_new();
  owned_record<series> curve = series_new(1);
  curve->style = series_style::solid_with_dots;
  for (const vec2 point : points) EXPECT_TRUE(series_add_point(*curve, point));
  chart_add_series(*made, std::move(curve));
  return made;
}

TEST(renderer_limits_test, labels_spans_of_every_size_with_a_few_ticks) {
  for (int exponent = -308; exponent <= 306; ++exponent) {
    const double size = std::pow(10.0, exponent);
    for (const bool equal_scale : {false, true}) {
      const owned_record<chart> source = chart_of({{0.0, 0.0}, {size, 1.0}, {-size / 3.0, size}});
      source->equal_scale = equal_scale;
      const std::size_t words = words_of(draw_logged(*source, page_kind::vector, 396.0, 306.0)).size();
      ASSERT_LE(words, most_words) << exponent << equal_scale;
      // Three titles and at least one tick each way.
      ASSERT_GE(words, 5U) << exponent << equal_scale;
    }
  }
}

double arbitrary_double(std::mt19937_64 &random) {
  const double specials[] = {0.0,
                             -0.0,
                             5e-324,
                             std::numeric_limits<double>::min(),
                             std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::lowest(),
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             1.0,
                             1e17};
  const std::uint64_t choice = random() % 16;
  if (choice < std::size(specials)) return specials[choice];
  return std::bit_cast<double>(random());
}

TEST(renderer_limits_test, draws_arbitrary_numbers_with_a_bounded_number_of_words) {
  std::mt19937_64 random(4);
  for (int round = 0; round < 3000; ++round) {
    std::vector<vec2> points(1 + random() % 4);
    for (vec2 &point : points) point = {arbitrary_double(random), arbitrary_double(random)};
    const owned_record<chart> source = chart_of(points);
    source->equal_scale = random() % 2 == 0;
    source->reverse_x = random() % 2 == 0;
    source->x_step = random() % 2 == 0 ? 0.0 : 200.0;
    source->y_step = random() % 2 == 0 ? 0.0 : 10.0;
    const bool is_fixed = source->x_step != 0.0 || source->y_step != 0.0;
    const std::size_t words = words_of(draw_logged(*source, page_kind::vector, 396.0, 306.0)).size();
    ASSERT_LE(words, is_fixed ? most_words_with_fixed_steps : most_words) << round;
  }
}

owned_record<series> poles_of(const std::vector<vec2> &points, double radius) {
  owned_record<series> poles = series_new(1);
  poles->style = series_style::open_circle;
  poles->radius = radius;
  for (const vec2 point : points) EXPECT_TRUE(series_add_point(*poles, point));
  return poles;
}

bool is_on_page(vec2 corner) { return corner.x >= 0.0 && corner.x <= 396.0 && corner.y >= 0.0 && corner.y <= 306.0; }

// The drawing library does not finish a circle of infinite radius, and draws a coordinate that is too large at a wrong
// position.
TEST(renderer_limits_test, draws_the_other_points_however_far_one_lies) {
  const double greatest = std::numeric_limits<double>::max();
  for (const double far : {1e290, 1e300, 5e304, 5.01e304, 7e305, 1e306, 2e307, greatest}) {
    for (const vec2 point : {vec2{3e7, far}, vec2{far, 3e7}, vec2{-far, far}, vec2{3e7, -far}, vec2{-far, 0.0}}) {
      for (const bool equal_scale : {false, true}) {
        SCOPED_TRACE(testing::Message() << point.x << ' ' << point.y << ' ' << equal_scale);
        const owned_record<chart> source = chart_of({{-10.0, -20.0}, point, {30.0, 20.0}});
        source->equal_scale = equal_scale;
        chart_add_series(*source, poles_of({{0.0, 5.0}, {50.0, -5.0}}, 2.5));
        for (const drawn_shape &shape : shapes_of(draw_logged(*source, page_kind::vector, 396.0, 306.0))) {
          ASSERT_TRUE(is_on_page(shape.low) && is_on_page(shape.high)) << shape.path;
        }
      }
    }
  }
}

TEST(renderer_limits_test, draws_points_too_close_together_to_be_scaled) {
  for (const double span : {5e-324, 1e-310, 1e-307, 1e-304, 1e-303, 1e-299}) {
    const owned_record<chart> source = chart_of({{0.0, 0.0}, {span, span}});
    chart_add_series(*source, poles_of({{0.0, 0.0}}, span / 10.0));
    const std::vector<drawn_shape> shapes = shapes_of(draw_logged(*source, page_kind::vector, 396.0, 306.0));
    ASSERT_TRUE(is_on_page(shapes.back().low) && is_on_page(shapes.back().high)) << span << shapes.back().path;
    // The line's two dots are there, too.
    EXPECT_TRUE(shapes[shapes.size() - 2].is_round && shapes[shapes.size() - 3].is_round) << span;
  }
}

struct radius_case {
  double radius;
  double drawn;  // points
};

// From -5 to 105 on 0.84 of the cell: 3.024 points a unit across.
const radius_case radius_cases[] = {{10.0, 30.24},  {200.0, 396.0},  // as wide as the cell
                                    {1e300, 396.0}, {std::numeric_limits<double>::infinity(), 396.0},
                                    {0.0, 1.224},  // two lines of 0.002 of the height
                                    {-1.0, 1.224},  {std::numeric_limits<double>::quiet_NaN(), 1.224}};

TEST(renderer_limits_test, draws_no_marker_larger_than_the_cell) {
  for (const radius_case &c : radius_cases) {
    const owned_record<chart> source = chart_of({{0.0, 0.0}, {100.0, 100.0}});
    chart_add_series(*source, poles_of({{50.0, 50.0}}, c.radius));
    const drawn_shape pole = shapes_of(draw_logged(*source, page_kind::vector, 396.0, 306.0)).back();
    EXPECT_NEAR((pole.high.x - pole.low.x) / 2.0, c.drawn, 0.05) << c.radius;
  }
}

TEST(renderer_limits_test, draws_one_scale_for_a_line_a_hundred_times_as_long_as_wide_both_ways) {
  for (const bool is_high : {false, true}) {
    const owned_record<chart> source = chart_of({{0.0, 0.0}, is_high ? vec2{3.0, 300.0} : vec2{300.0, 3.0}});
    source->equal_scale = true;
    const std::vector<drawn_shape> shapes = shapes_of(draw_logged(*source, page_kind::vector, 1000.0, 1000.0));
    // The distance of the line's two dots is that of the scale, across and up.
    const drawn_shape &last = shapes[shapes.size() - 1];
    const drawn_shape &before = shapes[shapes.size() - 2];
    const double across = last.low.x - before.low.x;
    const double up = before.low.y - last.low.y;
    EXPECT_NEAR(is_high ? up / across : across / up, 100.0, 0.6);
  }
}

TEST(renderer_limits_test, draws_every_point_of_a_long_track_quickly) {
  const owned_record<chart> source = chart_of({});
  for (int i = 0; i < 20'000; ++i) {
    ASSERT_TRUE(series_add_point(*source->first_series, {i * 1.0, std::sin(i * 0.001)}));
  }
  const std::clock_t start = std::clock();
  EXPECT_GT(shapes_of(draw_logged(*source, page_kind::vector, 396.0, 306.0)).size(), 20'000U);
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5.0);
}

}  // namespace
}  // namespace tarvel
