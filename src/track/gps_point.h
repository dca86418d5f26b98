// One GPS sample: what the logger measured, and what the analysis derives from it.
#pragma once

#include <cstdint>
#include <cstdio>

#include "geo/vec3.h"

namespace tarvel {

// Metres, m/s and milliseconds; angles in degrees. Measured fields stay exactly as the logger wrote them, derived
// ones are zero until their stage has run.
struct gps_point {
  std::int64_t time = 0;    // ms since the epoch, the logger's clock read as local time
  vec3 pos_wgs84;           // latitude, longitude (deg), height above mean sea level (m)
  vec3 vel_ltp;             // north, east, down, m/s
  float hacc = 0.0F;        // horizontal accuracy estimate, m
  float vacc = 0.0F;        // vertical accuracy estimate, m
  float sacc = 0.0F;        // speed accuracy estimate, m/s
  std::uint8_t gpsfix = 0;  // fix type as the logger writes it
  std::uint8_t numsv = 0;   // satellites used

  vec3 pos_ecef;            // m
  vec3 pos_local;           // x along the course, z up, origin at the entry gate, m
  vec3 vel_ecef;            // m/s
  vec3 vel_local;           // m/s
  vec3 acc_local;           // m/s2
  double dive_angle = 0.0;  // below the horizon, positive when descending
  double heading = 0.0;     // [0, 360), 0 along +x, clockwise seen from above
  double turn_angle = 0.0;  // since the previous sample, positive to the right
  double turn_rate = 0.0;   // degrees per second
};

// The debug print: one line per field, then an empty line.
void print_gps_point(std::FILE *stream, const gps_point &point);

}  // namespace tarvel
