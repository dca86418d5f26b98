// The units that pilots and rules speak in. Inside the program all is metres, m/s and milliseconds.
#pragma once

namespace tarvel {

constexpr double feet_per_metre = 3.2808399;
constexpr double mph_per_mps = 2.23693629;
constexpr double standard_gravity = 9.80665;  // m/s2, the conventional value of one g

// What reports and charts are in.
struct display_units {
  double length_factor;  // per metre
  double speed_factor;   // per m/s
  const char *lengths;   // in titles
  const char *length;    // behind a number
  const char *speed;
};

[[nodiscard]] constexpr display_units display_units_for(bool metric) {
  return metric ? display_units{1.0, 3.6, "meters", "m", "km/h"}
                : display_units{feet_per_metre, mph_per_mps, "feet", "ft", "mph"};
}

}  // namespace tarvel
