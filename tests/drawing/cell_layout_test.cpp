#include "drawing/cell_layout.h"

#include <cairo-pdf.h>
#include <gtest/gtest.h>

#include "drawing/drawing_handles.h"

namespace tarvel {
namespace {

// A surface whose output is discarded.
struct page {
  explicit page(bool is_vector, double width = 900.0, double height = 600.0)
      : surface(is_vector ? cairo_pdf_surface_create_for_stream(nullptr, nullptr, width, height)
                          : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                                       static_cast<int>(height))),
        context(cairo_create(surface.get())) {}

  surface_handle surface;
  context_handle context;
};

struct cell_case {
  std::uint32_t cell;
  double x, y, width, height;
};

// Quarters and ninths of 900 by 600.
const cell_case cell_cases[] = {
    {0, 0, 0, 900, 600},      {1, 0, 0, 450, 300},      {2, 450, 0, 450, 300},    {3, 0, 300, 450, 300},
    {4, 450, 300, 450, 300},  {5, 0, 0, 300, 200},      {6, 300, 0, 300, 200},    {7, 600, 0, 300, 200},
    {8, 0, 200, 300, 200},    {9, 300, 200, 300, 200},  {10, 600, 200, 300, 200}, {11, 0, 400, 300, 200},
    {12, 300, 400, 300, 200}, {13, 600, 400, 300, 200}, {14, 0, 0, 900, 600},     {4294967295U, 0, 0, 900, 600},
};

TEST(cell_layout_test, divides_the_page_into_quarters_and_ninths) {
  const page paper(true);
  for (const cell_case &c : cell_cases) {
    SCOPED_TRACE(c.cell);
    const cell_layout layout = lay_out_cell(paper.context.get(), c.cell);
    EXPECT_DOUBLE_EQ(layout.cell_x, c.x);
    EXPECT_DOUBLE_EQ(layout.cell_y, c.y);
    EXPECT_DOUBLE_EQ(layout.cell_width, c.width);
    EXPECT_DOUBLE_EQ(layout.cell_height, c.height);
    // A tenth to the left, 8 % above, 84 % both ways.
    EXPECT_DOUBLE_EQ(layout.plot_left, c.x + c.width / 10.0);
    EXPECT_DOUBLE_EQ(layout.plot_top, c.y + c.height * 2.0 / 25.0);
    EXPECT_DOUBLE_EQ(layout.plot_width, c.width * 21.0 / 25.0);
    EXPECT_DOUBLE_EQ(layout.plot_height, c.height * 21.0 / 25.0);
  }
}

TEST(cell_layout_test, starts_from_the_clip_area) {
  const page paper(true);
  cairo_rectangle(paper.context.get(), 100.0, 50.0, 400.0, 200.0);
  cairo_clip(paper.context.get());
  const cell_layout layout = lay_out_cell(paper.context.get(), 4);
  EXPECT_DOUBLE_EQ(layout.cell_x, 300.0);
  EXPECT_DOUBLE_EQ(layout.cell_y, 150.0);
  EXPECT_DOUBLE_EQ(layout.cell_width, 200.0);
  EXPECT_DOUBLE_EQ(layout.cell_height, 100.0);
}

struct size_case {
  double height;
  double line_width;
  double font_size;
};

// 0.002 and 0.0225 of the height; at most 1, reached at 500, and 12, reached at 533 1/3.
const size_case size_cases[] = {{100, 0.2, 2.25},  {400, 0.8, 9}, {500, 1, 11.25}, {510, 1, 11.475},
                                {533, 1, 11.9925}, {534, 1, 12},  {5000, 1, 12}};

TEST(cell_layout_test, grows_lines_and_letters_with_the_cell_up_to_a_limit) {
  for (const size_case &c : size_cases) {
    SCOPED_TRACE(c.height);
    const page paper(true, 300.0, c.height);
    const cell_layout layout = lay_out_cell(paper.context.get(), 0);
    EXPECT_NEAR(layout.line_width, c.line_width, 1e-9);
    EXPECT_NEAR(layout.font_size, c.font_size, 1e-9);
  }
}

struct snap_case {
  double value;
  double snapped;  // round(v + 0.5) - 0.5; halves are rounded away from zero
  double ceiling;
  double rounded;
};

const snap_case snap_cases[] = {
    {0.0, 0.5, 0.0, 0.0},     {0.25, 0.5, 1.0, 0.0},   {0.5, 0.5, 1.0, 1.0}, {0.99, 0.5, 1.0, 1.0},
    {1.0, 1.5, 1.0, 1.0},     {7.49, 7.5, 8.0, 7.0},   {7.5, 7.5, 8.0, 8.0}, {-0.25, -0.5, 0.0, 0.0},
    {-1.5, -1.5, -1.0, -2.0}, {-0.5, -0.5, 0.0, -1.0},
};

TEST(cell_layout_test, snaps_to_pixels_on_images_and_not_in_pdfs) {
  const page paper(true);
  const page picture(false);
  const cell_layout on_paper = lay_out_cell(paper.context.get(), 0);
  const cell_layout on_picture = lay_out_cell(picture.context.get(), 0);
  EXPECT_TRUE(on_paper.is_vector);
  EXPECT_FALSE(on_picture.is_vector);
  for (const snap_case &c : snap_cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(on_picture.snap(c.value), c.snapped);
    EXPECT_EQ(on_picture.ceil_px(c.value), c.ceiling);
    EXPECT_EQ(on_picture.round_px(c.value), c.rounded);
    EXPECT_EQ(on_paper.snap(c.value), c.value);
    EXPECT_EQ(on_paper.ceil_px(c.value), c.value);
    EXPECT_EQ(on_paper.round_px(c.value), c.value);
  }
}

struct equal_case {
  const char *name;
  axis x, y;
  double left, top, width, height;
};

// The plot area is 800 by 400 at (100, 50).
const equal_case equal_cases[] = {
    {"wide: a unit is 4 long, 200 high, 100 lower", {0, 200, 1}, {-20, 30, 1}, 100, 150, 800, 200},
    {"high: a unit is 2 long, 200 wide, 300 further", {-50, 50, 1}, {0, 200, 1}, 400, 50, 200, 400},
    {"fits", {0, 200, 1}, {0, 100, 1}, 100, 50, 800, 400},
};

TEST(cell_layout_test, shrinks_the_plot_around_its_middle_to_one_scale) {
  for (const equal_case &c : equal_cases) {
    SCOPED_TRACE(c.name);
    cell_layout layout;
    layout.plot_left = 100.0;
    layout.plot_top = 50.0;
    layout.plot_width = 800.0;
    layout.plot_height = 400.0;
    equalise_scale(layout, {c.x, c.y});
    EXPECT_DOUBLE_EQ(layout.plot_left, c.left);
    EXPECT_DOUBLE_EQ(layout.plot_top, c.top);
    EXPECT_DOUBLE_EQ(layout.plot_width, c.width);
    EXPECT_DOUBLE_EQ(layout.plot_height, c.height);
  }
}

}  // namespace
}  // namespace tarvel
