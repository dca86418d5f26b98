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

// By how much the speed at the crossing may be lower (negative) and higher than on the straight line between the two
// samples, m/s. Its slope is assumed to change once between them, from that before the two to that behind. Both ends
// are 0 when there is no sample before or behind the two.
[[nodiscard]] interval bend_at_crossing(const swoop &run, std::uint32_t before);

}  // namespace tarvel
