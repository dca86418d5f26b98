// Cuts a continuous heading curve into what was recorded and what was evened out.
#pragma once

#include <cstddef>
#include <span>

#include "chart/chart.h"
#include "track/gps_point.h"

namespace tarvel {

// Sample k belongs to point k. A point matches when its y, folded into [0, 360), is its sample's heading to within 1e-5
// degrees. The series keeps its first run; the other runs follow it as new series, solid where points match and thin
// dashed where they do not, each dashed run from the matching point before it to the one behind it. The run's state is
// that of point first. Linear in the points. False when memory is short: the runs made so far stay linked.
[[nodiscard]] bool split_heading_series(series &curve, std::span<const gps_point> samples, std::size_t first);

}  // namespace tarvel
