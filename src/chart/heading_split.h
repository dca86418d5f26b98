// Splits a continuous heading curve into stretches with measured and with evened-out turn angles.
#pragma once

#include <cstddef>
#include <span>

#include "chart/chart.h"
#include "track/gps_point.h"

namespace tarvel {

// Sample k belongs to point k. A point matches when its y, folded into [0, 360), is its sample's heading to within 1e-5
// degrees. The series keeps its first stretch, which has the state of point `first`. The other stretches follow it as
// new series: solid where points match; thin dashed where they do not, from the matching point before to the one after.
// Takes linear time. False when memory is short; the stretches made so far are then kept.
[[nodiscard]] bool split_heading_series(series &curve, std::span<const gps_point> samples, std::size_t first);

}  // namespace tarvel
