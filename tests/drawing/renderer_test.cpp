// The exact lines and shapes of charts.
#include "drawing/renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "support/drawing_log.h"
#include "support/golden.h"

namespace tarvel {
namespace {

owned_record<series> curve_of(series_style style, std::uint32_t colour, std::initializer_list<vec2> points) {
  owned_record<series> curve = series_new(1);
  curve->style = style;
  curve->colour = colour;
  for (const vec2 point : points) EXPECT_TRUE(series_add_point(*curve, point));
  return curve;
}

// On a page of 1000 by 1000 its plot goes from 100 to 940 across and from 80 to 920 down; x runs from 0 to 20 and y
// from -10 to 10, so that a unit is 42 points long. Line width 1.
owned_record<chart> square_chart() {
  owned_record<chart> made = chart_new();
  made->x_step = made->y_step = 2.0;
  chart_add_series(*made, curve_of(series_style::solid, red, {{0.5, -9.5}, {10.0, 4.0}, {19.5, 9.5}}));
  return made;
}

constexpr double page_size = 1000.0;

std::vector<drawn_shape> shapes_on_paper(const chart &source) {
  return shapes_of(draw_logged(source, page_kind::vector, page_size, page_size));
}

const std::size_t background = 0;
const std::size_t frame = 1;
const std::size_t first_x_line = 2;  // ten ticks of each axis, without those on the frame, nine
const std::size_t first_y_line = 11;
const std::size_t first_curve = 20;

TEST(renderer_test, fills_the_cell_and_frames_the_plot) {
  const std::vector<drawn_shape> shapes = shapes_on_paper(*square_chart());
  ASSERT_EQ(shapes.size(), first_curve + 1);
  EXPECT_TRUE(shapes[background].is_filled);
  EXPECT_EQ(shapes[background].colour, 0xffffffU);
  EXPECT_EQ(shapes[background].path, "M 0.00,0.00 L 1000.00,0.00 L 1000.00,1000.00 L 0.00,1000.00 Z");
  EXPECT_FALSE(shapes[frame].is_filled);
  EXPECT_EQ(shapes[frame].colour, 0U);
  EXPECT_EQ(shapes[frame].width, 1.0);
  EXPECT_TRUE(shapes[frame].dash.empty());
  EXPECT_EQ(shapes[frame].path, "M 100.00,80.00 L 940.00,80.00 L 940.00,920.00 L 100.00,920.00 Z");
}

TEST(renderer_test, draws_thin_dashed_grid_lines_and_a_full_one_at_zero) {
  const std::vector<drawn_shape> shapes = shapes_on_paper(*square_chart());
  ASSERT_EQ(shapes.size(), first_curve + 1);
  for (std::size_t i = 0; i < 9; ++i) {
    SCOPED_TRACE(i);
    const drawn_shape &down = shapes[first_x_line + i];
    const double x = 100.0 + 84.0 * static_cast<double>(i + 1);
    ASSERT_EQ(down.points.size(), 2U);
    EXPECT_NEAR(down.points[0].x, x, 0.005);
    EXPECT_NEAR(down.points[1].x, x, 0.005);
    EXPECT_NEAR(down.points[0].y, 80.0, 0.005);
    EXPECT_NEAR(down.points[1].y, 920.0, 0.005);
    EXPECT_EQ(down.width, 0.5);
    EXPECT_EQ(down.dash, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(down.colour, 0U);

    // From the bottom upwards; the fifth is y = 0.
    const drawn_shape &across = shapes[first_y_line + i];
    const double y = 920.0 - 84.0 * static_cast<double>(i + 1);
    ASSERT_EQ(across.points.size(), 2U);
    EXPECT_NEAR(across.points[0].y, y, 0.005);
    EXPECT_NEAR(across.points[1].y, y, 0.005);
    EXPECT_NEAR(across.points[0].x, 100.0, 0.005);
    EXPECT_NEAR(across.points[1].x, 940.0, 0.005);
    EXPECT_EQ(across.width, i == 4 ? 1.0 : 0.5);
    EXPECT_EQ(across.dash.size(), i == 4 ? 0U : 2U);
  }
}

struct style_case {
  const char *name;
  series_style style;
  double radius;
  const char *drawn;
};

// Points (1, -9), (10, 0) and (10, 8) are (142, 878), (520, 500) and (520, 164). A radius of 0.5 units is 21.
const style_case style_cases[] = {
    {"solid", series_style::solid, 0.0, "stroke 123456 width 1.00: M 142.00,878.00 L 520.00,500.00 L 520.00,164.00\n"},
    {"thick dashed", series_style::thick_dashed, 0.0,
     "stroke 123456 width 2.00 dash 2.00 2.00: M 142.00,878.00 L 520.00,500.00 L 520.00,164.00\n"},
    {"thin dashed", series_style::thin_dashed, 0.0,
     "stroke 123456 width 1.00 dash 3.00 6.00: M 142.00,878.00 L 520.00,500.00 L 520.00,164.00\n"},
    {"filled circle", series_style::filled_circle, 0.0,
     "fill 123456: circle 142.00,878.00 r 3.00\nfill 123456: circle 520.00,500.00 r 3.00\n"
     "fill 123456: circle 520.00,164.00 r 3.00\n"},
    {"filled circle of a size", series_style::filled_circle, 0.5,
     "fill 123456: circle 142.00,878.00 r 21.00\nfill 123456: circle 520.00,500.00 r 21.00\n"
     "fill 123456: circle 520.00,164.00 r 21.00\n"},
    {"open circle", series_style::open_circle, 0.0,
     "stroke 123456 width 1.00: circle 142.00,878.00 r 2.00\nstroke 123456 width 1.00: circle 520.00,500.00 r 2.00\n"
     "stroke 123456 width 1.00: circle 520.00,164.00 r 2.00\n"},
    {"open circle of a size", series_style::open_circle, 1.0,
     "stroke 123456 width 1.00: circle 142.00,878.00 r 42.00\nstroke 123456 width 1.00: circle 520.00,500.00 r 42.00\n"
     "stroke 123456 width 1.00: circle 520.00,164.00 r 42.00\n"},
    {"solid with dots", series_style::solid_with_dots, 0.0,
     "stroke 123456 width 1.00: M 142.00,878.00 L 520.00,500.00 L 520.00,164.00\n"
     "fill 123456: circle 142.00,878.00 r 1.70\nfill 123456: circle 520.00,500.00 r 1.70\n"
     "fill 123456: circle 520.00,164.00 r 1.70\n"},
    // Its tips are twice the radius away.
    {"star", series_style::star, 0.0,
     "fill 123456: star 142.00,878.00 r 6.00\nfill 123456: star 520.00,500.00 r 6.00\n"
     "fill 123456: star 520.00,164.00 r 6.00\n"},
    {"star of a size", series_style::star, 0.5,
     "fill 123456: star 142.00,878.00 r 42.00\nfill 123456: star 520.00,500.00 r 42.00\n"
     "fill 123456: star 520.00,164.00 r 42.00\n"},
};

std::string drawn_after_frame(const chart &source, std::size_t skipped, double size = page_size) {
  std::vector<drawn_item> items = draw_logged(source, page_kind::vector, size, size);
  std::size_t shapes = 0;
  std::size_t first = 0;
  while (first < items.size() && shapes < skipped) shapes += items[first++].shape.size();
  items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(first));
  items.erase(std::remove_if(items.begin(), items.end(), [](const drawn_item &item) { return !item.word.empty(); }),
              items.end());
  return golden_text(items);
}

TEST(renderer_test, draws_every_style) {
  for (const style_case &c : style_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> source = square_chart();
    chart_add_series(*source, curve_of(c.style, 0x123456, {{1, -9}, {10, 0}, {10, 8}}));
    source->first_series->next->radius = c.radius;
    EXPECT_EQ(drawn_after_frame(*source, first_curve + 1), c.drawn);
  }
}

// Lines are 0.002 of the height, 0.9 here; an open circle has twice, other marks three times that radius.
TEST(renderer_test, draws_smaller_marks_in_a_small_cell) {
  const owned_record<chart> source = square_chart();
  for (const series_style style : {series_style::open_circle, series_style::filled_circle, series_style::star}) {
    chart_add_series(*source, curve_of(style, 0x123456, {{10, 0}}));
  }
  EXPECT_EQ(drawn_after_frame(*source, first_curve + 1, 450.0),
            "stroke 123456 width 0.90: circle 234.00,225.00 r 1.80\n"
            "fill 123456: circle 234.00,225.00 r 2.70\n"
            "fill 123456: star 234.00,225.00 r 5.40\n");
}

TEST(renderer_test, reverses_axes) {
  const owned_record<chart> source = square_chart();
  chart_add_series(*source, curve_of(series_style::solid, blue, {{1, -9}, {10, 0}, {10, 8}}));
  source->reverse_x = true;
  EXPECT_EQ(drawn_after_frame(*source, first_curve + 1),
            "stroke 1010e0 width 1.00: M 898.00,878.00 L 520.00,500.00 L 520.00,164.00\n");
  source->reverse_y = true;
  EXPECT_EQ(drawn_after_frame(*source, first_curve + 1),
            "stroke 1010e0 width 1.00: M 898.00,122.00 L 520.00,500.00 L 520.00,836.00\n");
  // Their grid lines start on the other side.
  const std::vector<drawn_shape> shapes = shapes_on_paper(*source);
  EXPECT_NEAR(shapes[first_x_line].points[0].x, 856.0, 0.005);
  EXPECT_NEAR(shapes[first_y_line].points[0].y, 164.0, 0.005);
}

TEST(renderer_test, skips_points_that_are_not_finite) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  const double endless = std::numeric_limits<double>::infinity();
  for (const series_style style : {series_style::solid_with_dots, series_style::open_circle, series_style::star,
                                   series_style::thin_dashed, series_style::filled_circle}) {
    const owned_record<chart> whole = square_chart();
    chart_add_series(*whole, curve_of(style, blue, {{1, -9}, {10, 8}}));
    const owned_record<chart> broken = square_chart();
    chart_add_series(*broken,
                     curve_of(style, blue, {{none, 1}, {1, -9}, {5, endless}, {-endless, 5}, {10, 8}, {1, none}}));
    EXPECT_EQ(drawn_after_frame(*broken, 0), drawn_after_frame(*whole, 0));
  }
}

TEST(renderer_golden_test, draws_a_whole_chart_in_order) {
  const owned_record<chart> source = square_chart();
  source->title = try_duplicate("title");
  source->x_title = try_duplicate("x title");
  source->y_title = try_duplicate("y title");
  chart_add_series(*source, curve_of(series_style::open_circle, green, {{3, 3}}));
  chart_add_series(*source, curve_of(series_style::solid_with_dots, purple, {{3, 3}, {9, -5}}));
  expect_golden("drawing/whole_chart.txt", golden_text(draw_logged(*source, page_kind::vector, page_size, page_size)));
}

TEST(renderer_test, keeps_a_chart_within_its_cell) {
  const owned_record<chart> source = square_chart();
  chart_add_series(*source, curve_of(series_style::open_circle, red, {{10, 0}}));
  source->first_series->next->radius = 1.0;
  // Cell 9 is the middle of nine, 400 by 300 at (400, 300); its line width is 0.6, its unit 16.8 by 12.6.
  const std::vector<drawn_shape> shapes = shapes_of(draw_logged(*source, page_kind::vector, 1200, 900, 9));
  EXPECT_EQ(shapes[background].path, "M 400.00,300.00 L 800.00,300.00 L 800.00,600.00 L 400.00,600.00 Z");
  EXPECT_EQ(shapes[frame].path, "M 440.00,324.00 L 776.00,324.00 L 776.00,576.00 L 440.00,576.00 Z");
  EXPECT_NEAR(shapes[frame].width, 0.6, 1e-12);
  EXPECT_NEAR(shapes[first_x_line].width, 0.3, 1e-12);
  ASSERT_EQ(shapes[first_x_line].dash.size(), 2U);
  EXPECT_NEAR(shapes[first_x_line].dash[0], 0.6, 1e-12);
  EXPECT_NEAR(shapes[first_x_line].dash[1], 1.2, 1e-12);
  EXPECT_EQ(shapes[first_curve].path, "M 448.40,569.70 L 608.00,399.60 L 767.60,330.30");
  // Radii are as long as x units.
  EXPECT_EQ(shapes[first_curve + 1].path, "circle 608.00,450.00 r 16.80");
}

TEST(renderer_test, snaps_frame_and_grid_to_pixels_on_a_picture_and_curves_to_none) {
  // 500 by 300: plot from (50, 24), 420 by 252; line width 0.6, whose dash is a whole pixel.
  const std::vector<drawn_shape> shapes = shapes_of(draw_logged(*square_chart(), page_kind::raster, 500, 300));
  ASSERT_EQ(shapes.size(), first_curve + 1);
  EXPECT_EQ(shapes[frame].path, "M 50.50,24.50 L 470.50,24.50 L 470.50,276.50 L 50.50,276.50 Z");
  // x = 2 lies at 92, y = -8 at 250.8.
  EXPECT_EQ(shapes[first_x_line].path, "M 92.50,25.00 L 92.50,277.00");
  EXPECT_EQ(shapes[first_y_line].path, "M 51.00,250.50 L 471.00,250.50");
  EXPECT_EQ(shapes[first_x_line].dash, (std::vector<double>{1.0, 2.0}));
  // (0.5, -9.5) is (60.5, 269.7).
  EXPECT_EQ(shapes[first_curve].path, "M 60.50,269.70 L 260.00,99.60 L 459.50,30.30");
}

TEST(renderer_test, centres_a_flat_chart_of_one_scale_in_its_cell) {
  const owned_record<chart> source = chart_new();
  source->equal_scale = true;
  chart_add_series(*source, curve_of(series_style::solid, red, {{0, 0}, {1000, 100}}));
  const std::vector<drawn_shape> shapes = shapes_on_paper(*source);
  // x from -50 to 1050, y from -50 to 150: 840 / 1100 points a unit, 152.73 high, 500 in the middle.
  EXPECT_EQ(shapes[frame].path, "M 100.00,423.64 L 940.00,423.64 L 940.00,576.36 L 100.00,576.36 Z");
  EXPECT_EQ(shapes.back().path, "M 138.18,538.18 L 901.82,461.82");
}

TEST(renderer_test, draws_nothing_for_no_chart) { draw_chart(nullptr, nullptr, 1); }

TEST(renderer_test, draws_empty_axes_for_a_chart_without_series) {
  const owned_record<chart> empty = chart_new();
  const std::vector<drawn_shape> shapes = shapes_on_paper(*empty);
  // From -5 to 105: lines at 0, 10, ... 100 both ways; the first is solid.
  ASSERT_EQ(shapes.size(), 2U + 11U + 11U);
  EXPECT_TRUE(shapes[2].dash.empty());
  EXPECT_NEAR(shapes[2].points[0].x, 100.0 + 840.0 / 22.0, 0.005);
  EXPECT_NEAR(shapes[13].points[0].y, 920.0 - 840.0 / 22.0, 0.005);
}

}  // namespace
}  // namespace tarvel
