#include "swoop/sample_measures.h"

#include <cmath>

namespace tarvel {

double folded_heading_change(double from, double to) {
  const double change = std::fabs(to - from);
  return change > 180.0 ? 360.0 - change : change;
}

}  // namespace tarvel
