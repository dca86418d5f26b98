// The box that explains the series of a chart.
#pragma once

#include "drawing/chart_drawing.h"

namespace tarvel {

// A row for each series with a label, in drawing order; nothing without one.
void draw_legend(const drawing &d);

}  // namespace tarvel
