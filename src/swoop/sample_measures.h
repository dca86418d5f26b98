// The measures of a sample that the detectors use, in the units of their thresholds.
#pragma once

#include <cstdint>

#include "support/time.h"
#include "support/units.h"
#include "track/gps_point.h"
#include "track/track_frames.h"

namespace tarvel {

// Height above the entry gate.
[[nodiscard]] inline double height_feet(const gps_point &sample) { return feet_per_metre * sample.pos_local.z; }

// Vertical speed, positive downward.
[[nodiscard]] inline double descent_mph(const gps_point &sample) { return mph_per_mps * -sample.vel_local.z; }

// Vertical acceleration, mph per second, positive downward.
[[nodiscard]] inline double downward_acceleration(const gps_point &sample) { return mph_per_mps * -sample.acc_local.z; }

[[nodiscard]] inline double horizontal_mph(const gps_point &sample) { return mph_per_mps * horizontal_speed(sample); }

// The values that the logger reported: height above mean sea level, m; vertical speed, m/s, positive downward.
[[nodiscard]] inline double raw_altitude(const gps_point &sample) { return sample.pos_wgs84.z; }
[[nodiscard]] inline double raw_descent(const gps_point &sample) { return sample.vel_ltp.z; }

// The time between two samples in ms, as a divisor. Computed in 32 bits without a sign: a step back becomes a very long
// time, so that rates are near zero instead of negative.
[[nodiscard]] inline double time_step(const gps_point &from, const gps_point &to) {
  return static_cast<double>(static_cast<std::uint32_t>(elapsed(from.time, to.time)));
}

// The time at which a measure, va at sample a and vb at sample b, crosses a value: interpolated, ms, truncated.
[[nodiscard]] std::int64_t crossing_time(const gps_point &a, const gps_point &b, double va, double vb, double value);

// The difference between two headings in degrees, folded into 0 to 180.
[[nodiscard]] double folded_heading_change(double from, double to);

}  // namespace tarvel
