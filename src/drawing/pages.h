// Writes charts as PDF and PNG documents.
#pragma once

#include <cstddef>
#include <cstdio>

#include "chart/run_charts.h"
#include "support/error_slot.h"

namespace tarvel {

// Call guard_drawing(drawing_memory(charts)) before either. They fail with "failed to allocate memory for charts", with
// charts left out; or with "failed to read font for charts", with charts without text. Write errors are reported by
// close_output.

// Writes both pages as PDF, in landscape letter format.
void write_pdf_charts(std::FILE *file, const chart_context &charts, error_slot *error);

// Writes the first page's charts as PNG, 1200 by 928 pixels, for the tests and the pictures in the documentation.
void write_png_charts(std::FILE *file, const chart_context &charts, error_slot *error);

// An upper estimate of the bytes that drawing the charts takes.
[[nodiscard]] std::size_t drawing_memory(const chart_context &charts);

}  // namespace tarvel
