// The ranges and tick steps of a chart's axes.
#pragma once

#include <cstdint>

#include "chart/chart.h"

namespace tarvel {

struct axis {
  double min = 0.0;
  double max = 100.0;
  double step = 0.0;
};

struct chart_axes {
  axis x;
  axis y;
};

// The tick step for about that many intervals over a range: 2, 2.5, 5 or 10 times a power of ten, never smaller than
// range / count. A range that is no positive finite number, or less than 1e-304 * count, counts as 100, a count of 0 as
// 1.
[[nodiscard]] double nice_step(std::uint32_t count, double range);

// Ranges that hold every point of the chart whose coordinates are both within +-5e304, with a margin, from half step to
// half step; 0 to 100 for a chart without such points. Always increasing, and so that scaling a coordinate to any page
// does not overflow.
[[nodiscard]] chart_axes find_axes(const chart &source);

}  // namespace tarvel
