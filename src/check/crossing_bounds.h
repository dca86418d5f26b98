// Bounds for gates that were crossed while samples were missing.
#pragma once

#include "check/interval.h"
#include "swoop/swoop.h"

namespace tarvel {

struct crossing_bounds {
  double gap = 0.0;  // s between the samples on either side
  interval speed;    // m/s, horizontal; it is assumed to change by at most one g
  interval time;     // ms of the logger's clock
};

// The bounds of a crossing between the sample `before` and the next one.
[[nodiscard]] crossing_bounds bounds_of_crossing(const swoop &run, std::uint32_t before);

}  // namespace tarvel
