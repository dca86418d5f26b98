// The layout of a chart in its cell of the page.
#pragma once

#include <cairo.h>

#include <cstdint>

#include "chart/axes.h"

namespace tarvel {

// Device units.
struct cell_layout {
  bool is_vector = false;  // PDF: coordinates stay as they are; otherwise they are snapped to pixels
  double cell_x = 0.0;
  double cell_y = 0.0;
  double cell_width = 0.0;
  double cell_height = 0.0;
  double plot_left = 0.0;
  double plot_top = 0.0;
  double plot_width = 0.0;
  double plot_height = 0.0;
  double line_width = 0.0;
  double font_size = 0.0;

  [[nodiscard]] double snap(double v) const;  // to the centre of a pixel, unless is_vector
  [[nodiscard]] double ceil_px(double v) const;
  [[nodiscard]] double round_px(double v) const;
};

// The layout of a cell of the context's clip area: 0 is all of it, 1 to 4 its quarters, 5 to 13 a 3 by 3 grid, row by
// row from the top left; any other number is 0.
[[nodiscard]] cell_layout lay_out_cell(cairo_t *cr, std::uint32_t cell);

// Shrinks the plot area so that one data unit is as long on both axes.
void equalise_scale(cell_layout &layout, const chart_axes &axes);

}  // namespace tarvel
