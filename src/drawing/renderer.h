// Draws one chart into one cell of a page.
#pragma once

#include <cairo.h>

#include <cstdint>

#include "chart/chart.h"

namespace tarvel {

// Background, frame, grid, tick labels, titles, series and legend, in that order; cells as in lay_out_cell. Points
// outside the cell, infinite or NaN are left out, and a marker is no larger than the cell. Draws nothing when source is
// null.
void draw_chart(cairo_t *cr, const chart *source, std::uint32_t cell);

// False when the file of the charts' font cannot be read, so that texts are missing from the charts; pango reports that
// on standard error only. True on a machine without fonts.
[[nodiscard]] bool has_readable_font(cairo_t *cr);

}  // namespace tarvel
