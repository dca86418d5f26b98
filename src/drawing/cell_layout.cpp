#include "drawing/cell_layout.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

double cell_layout::snap(double v) const { return is_vector ? v : std::round(v + 0.5) - 0.5; }

double cell_layout::ceil_px(double v) const { return is_vector ? v : std::ceil(v); }

double cell_layout::round_px(double v) const { return is_vector ? v : std::round(v); }

namespace {

// Divides the cell into parts x parts equal cells and reduces the layout to the one with this index.
void take_part(cell_layout &layout, std::uint32_t parts, std::uint32_t index) {
  layout.cell_width /= parts;
  layout.cell_height /= parts;
  const std::uint32_t column = index % parts;
  const std::uint32_t row = index / parts;
  layout.cell_x += column * layout.cell_width;
  layout.cell_y += row * layout.cell_height;
}

}  // namespace

cell_layout lay_out_cell(cairo_t *cr, std::uint32_t cell) {
  cell_layout layout;
  layout.is_vector = cairo_surface_get_type(cairo_get_target(cr)) == CAIRO_SURFACE_TYPE_PDF;
  double right = 0.0;
  double bottom = 0.0;
  cairo_clip_extents(cr, &layout.cell_x, &layout.cell_y, &right, &bottom);
  layout.cell_width = right - layout.cell_x;
  layout.cell_height = bottom - layout.cell_y;
  if (cell >= 1 && cell <= 4) {
    take_part(layout, 2, cell - 1);
  } else if (cell >= 5 && cell <= 13) {
    take_part(layout, 3, cell - 5);
  }

  layout.line_width = std::min(0.002 * layout.cell_height, 1.0);
  layout.font_size = std::min(0.0225 * layout.cell_height, 12.0);
  layout.plot_left = layout.cell_x + 0.1 * layout.cell_width;
  layout.plot_top = layout.cell_y + 0.08 * layout.cell_height;
  layout.plot_width = 0.84 * layout.cell_width;
  layout.plot_height = 0.84 * layout.cell_height;
  return layout;
}

void equalise_scale(cell_layout &layout, const chart_axes &axes) {
  const double x_span = axes.x.max - axes.x.min;
  const double y_span = axes.y.max - axes.y.min;
  if (x_span / y_span > layout.plot_width / layout.plot_height) {
    const double height = layout.plot_width * y_span / x_span;
    layout.plot_top += (layout.plot_height - height) / 2.0;
    layout.plot_height = height;
  } else {
    const double width = layout.plot_height * x_span / y_span;
    layout.plot_left += (layout.plot_width - width) / 2.0;
    layout.plot_width = width;
  }
}

}  // namespace tarvel
