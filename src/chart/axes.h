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

// The tick step for about count intervals over a range: 2, 2.5, 5 or 10 times a power of ten, at least range / count. A
// range that is not positive and finite, or less than 1e-304 * count, is replaced by 100, a count of 0 by 1.
[[nodiscard]] double nice_step(std::uint32_t count, double range);

// Ranges that include every point of the chart whose coordinates are both within +-5e304, with a margin, rounded
// outward to half steps; 0 to 100 for a chart without such points. The minimum is always less than the maximum, and
// scaling a coordinate to a page does not overflow.
[[nodiscard]] chart_axes find_axes(const chart &source);

}  // namespace tarvel
