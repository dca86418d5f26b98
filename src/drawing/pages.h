// The documents of charts.
#pragma once

#include <cstddef>
#include <cstdio>

#include "chart/run_charts.h"
#include "support/error_slot.h"

namespace tarvel {

// Both need a guard_drawing of drawing_room before them. Write errors are left to close_output. They fail with "failed
// to allocate memory for charts", a chart that there is no memory for being left out; or with "failed to read font for
// charts", the charts being drawn without text.

// All pages, as PDF; landscape letter.
void write_pdf_charts(std::FILE *file, const chart_context &charts, error_slot *error);

// The first page's charts as PNG, 1200 by 928 pixels, for the tests and the documentation's pictures.
void write_png_charts(std::FILE *file, const chart_context &charts, error_slot *error);

// Bytes that drawing the charts of a run takes, and some more.
[[nodiscard]] std::size_t drawing_room(const chart_context &charts);

}  // namespace tarvel
