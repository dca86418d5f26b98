// Draws one chart into one cell of a page.
#pragma once

#include <cairo.h>

#include <cstdint>

#include "chart/chart.h"

namespace tarvel {

// Background, frame, grid, tick labels, titles, series and legend, in that order; cells as in lay_out_cell. A point
// outside the cell, infinite or not a number, is left out, and a marker is no larger than the cell. A null chart draws
// nothing.
void draw_chart(cairo_t *cr, const chart *source, std::uint32_t cell);

// False when the file of the charts' font cannot be read, so that nothing stands where words should: what pango says of
// it goes to standard error alone. A machine without any font has none to read.
[[nodiscard]] bool has_readable_font(cairo_t *cr);

}  // namespace tarvel
