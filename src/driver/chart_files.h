// The files that the charts go to.
#pragma once

#include "chart/run_charts.h"
#include "support/error_slot.h"

namespace tarvel {

// Writes the pages of charts as PDF. Fails with "failed to allocate memory for charts" before the
// file is opened, when the system has no room for what the drawing libraries need; with "failed to open file: %s" or
// "failed to write file: %s"; or, with an incomplete file, as write_pdf_charts.
void write_swoop_pdf(const char *path, const swoop &run, const pond_outline *pond, bool metric, bool from_exit,
                     error_slot *error);

// Writes the first page's charts to out.png. Fails like write_swoop_pdf.
void write_swoop_png(const swoop &run, const pond_outline *pond, bool metric, bool from_exit, error_slot *error);

}  // namespace tarvel
