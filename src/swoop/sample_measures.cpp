#include "swoop/sample_measures.h"

#include <cmath>

#include "geo/plane.h"
#include "support/integer.h"

namespace tarvel {

std::int64_t crossing_time(const gps_point &a, const gps_point &b, double va, double vb, double value) {
  return truncate_to_int64(interpolate(static_cast<double>(a.time), static_cast<double>(b.time), va, vb, value));
}

double folded_heading_change(double from, double to) {
  const double change = std::fabs(to - from);
  return change > 180.0 ? 360.0 - change : change;
}

}  // namespace tarvel
