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

// How much faster (high) and slower (low, negative) than on the straight line between the two samples a pilot may have
// crossed, m/s. The speed is assumed to change its slope at most once between them, from that before to that behind. 0
// when there is no sample before or behind the two.
[[nodiscard]] interval bend_at_crossing(const swoop &run, std::uint32_t before);

}  // namespace tarvel
