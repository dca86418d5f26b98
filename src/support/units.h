// The units of reports, charts and thresholds. All other values are in metres, m/s and milliseconds.
#pragma once

namespace tarvel {

// 1 / 0.3048 and 3600 / 1609.344, rounded to eight decimals.
constexpr double feet_per_metre = 3.2808399;
constexpr double mph_per_mps = 2.23693629;
constexpr double standard_gravity = 9.80665;  // m/s2, the conventional value of one g

// The units of a report and its charts.
struct display_units {
  double length_factor;  // per metre
  double speed_factor;   // per m/s
  const char *lengths;   // in titles
  const char *length;    // after a number
  const char *speed;
};

[[nodiscard]] constexpr display_units display_units_for(bool metric) {
  return metric ? display_units{1.0, 3.6, "meters", "m", "km/h"}
                : display_units{feet_per_metre, mph_per_mps, "feet", "ft", "mph"};
}

}  // namespace tarvel
