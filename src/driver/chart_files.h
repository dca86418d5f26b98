// Writes chart files.
#pragma once

#include "chart/run_charts.h"
#include "support/error_slot.h"

namespace tarvel {

// Writes the pages of charts as PDF. Fails with "failed to allocate memory for charts" before the file is opened, as
// guard_drawing does; with "failed to open file: %s" or "failed to write file: %s"; or, leaving an incomplete file,
// with a message of write_pdf_charts.
void write_swoop_pdf(const char *path, const swoop &run, const pond_outline *pond, bool metric, bool from_exit,
                     error_slot *error);

// Writes the first page's charts to out.png. Fails like write_swoop_pdf.
void write_swoop_png(const swoop &run, const pond_outline *pond, bool metric, bool from_exit, error_slot *error);

}  // namespace tarvel
