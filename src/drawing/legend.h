// The legend of a chart.
#pragma once

#include "drawing/chart_drawing.h"

namespace tarvel {

// Draws a box with a row for each series that has a label, in drawing order; draws nothing when no series has one.
void draw_legend(const drawing &d);

}  // namespace tarvel
