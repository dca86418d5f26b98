// Helpers for drawing a chart: its state, texts, lines and circles.
#pragma once

#include <cairo.h>

#include <cstdint>

#include "chart/axes.h"
#include "chart/chart.h"
#include "drawing/cell_layout.h"
#include "drawing/drawing_handles.h"
#include "geo/vec3.h"

namespace tarvel {

// The state while one chart is drawn.
struct drawing {
  cairo_t *cr = nullptr;
  const chart &source;
  chart_axes axes;
  cell_layout layout;
  layout_handle text;    // one for all texts of the chart: they share one font
  double x_scale = 0.0;  // device units per data unit
  double y_scale = 0.0;
};

// Pixels, as pango measures them.
struct text_size {
  int ink_x = 0;
  int ink_y = 0;
  int width = 0;  // logical
  int ink_height = 0;
};

[[nodiscard]] double right_of(const cell_layout &layout);  // the plot's right edge
[[nodiscard]] double bottom_of(const cell_layout &layout);

// A layout in the charts' font, whose size is in device units.
[[nodiscard]] layout_handle make_text_layout(cairo_t *cr, double font_size);
// Sets and measures the next text.
[[nodiscard]] text_size set_text(const drawing &d, const char *words);
// Draws the text that was set last; the top left corner of its ink is at the point.
void show_text(const drawing &d, const text_size &size, double x, double y);

void set_colour(cairo_t *cr, std::uint32_t colour);  // 0xRRGGBB
// Widths and lengths in device units.
void set_solid(cairo_t *cr, double width);
void set_dashed(cairo_t *cr, double width, double dash, double gap);
void draw_line(cairo_t *cr, double x1, double y1, double x2, double y2);
// Begins a new path for the circle, so that no line connects it to the current point.
void add_circle(cairo_t *cr, vec2 centre, double radius);

// True for the styles that connect their points.
[[nodiscard]] bool is_line(series_style style);

}  // namespace tarvel
