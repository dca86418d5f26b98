// The units of a document's charts.
#pragma once

#include "support/units.h"

namespace tarvel {

struct chart_units {
  double length_factor;  // per metre
  double speed_factor;   // per m/s
  const char *lengths;   // in titles
  const char *length;    // in labels
  const char *speed;
};

[[nodiscard]] constexpr chart_units chart_units_for(bool metric) {
  return metric ? chart_units{1.0, 3.6, "meters", "m", "km/h"}
                : chart_units{feet_per_metre, mph_per_mps, "feet", "ft", "mph"};
}

}  // namespace tarvel
