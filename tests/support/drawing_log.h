// Records what a chart draws. drawing_log.cpp replaces cairo_stroke, cairo_fill and pango_cairo_show_layout by
// functions that record their calls. The record is exact and does not depend on the surface or on fonts.
#pragma once

#include <cairo.h>

#include <string>
#include <vector>

#include "chart/chart.h"
#include "drawing/drawing_handles.h"

namespace tarvel {

struct drawn_shape {
  bool is_filled = false;
  bool is_round = false;  // made of curves alone
  std::string path;       // "M 1,2 L 3,4 Z"; "circle 1,2 r 3" and "star 1,2 r 3" for curves
  std::vector<vec2> points;
  vec2 low;  // of all points, or of the curves' extents
  vec2 high;
  double width = 0.0;  // of strokes
  std::vector<double> dash;
  std::uint32_t colour = 0;
};

struct drawn_word {
  std::string text;
  double left = 0.0;  // of the ink, before any rotation of the page
  double top = 0.0;
  int width = 0;  // logical
  int ink_height = 0;
  bool is_upright = true;
  std::string font;
  std::uint32_t colour = 0;
};

// In drawing order; one of the two is set.
struct drawn_item {
  std::vector<drawn_shape> shape;
  std::vector<drawn_word> word;
};

enum class page_kind { vector, raster };

// Draws the chart into a cell of an empty page.
[[nodiscard]] std::vector<drawn_item> draw_logged(const chart &source, page_kind kind, double width, double height,
                                                  std::uint32_t cell = 0);

[[nodiscard]] std::vector<drawn_shape> shapes_of(const std::vector<drawn_item> &items);
[[nodiscard]] std::vector<drawn_word> words_of(const std::vector<drawn_item> &items);

// One line for each item; words without their positions, which depend on fonts.
[[nodiscard]] std::string golden_text(const std::vector<drawn_item> &items);

}  // namespace tarvel
