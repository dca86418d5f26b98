// The units that pilots and rules speak in. Inside the program all is metres, m/s and milliseconds.
#pragma once

namespace tarvel {

constexpr double feet_per_metre = 3.2808399;
constexpr double mph_per_mps = 2.23693629;
constexpr double standard_gravity = 9.80665;  // m/s2, the conventional value of one g

}  // namespace tarvel
