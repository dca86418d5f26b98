// The measurements of a run's flight, and how noisy they are.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "check/check_window.h"
#include "check/motion_series.h"
#include "check/noise_scale.h"
#include "check/velocity_lag.h"
#include "support/memory.h"

namespace tarvel {

// The samples that the figures depend on, and their positions and velocities along three axes.
struct measured_flight {
  check_window window;
  motion_series series;
  owned_array<double> work;  // four times as long as the series; scratch space of each call
};

// Fills the series from the window. False when memory is short.
[[nodiscard]] bool fill_series(measured_flight &flight);

// The times (s) of the samples from before the turn to the stop, from which the noise is measured.
[[nodiscard]] inline std::span<const double> flown_times(const measured_flight &flight) {
  const std::size_t first = flight.window.closely.first;
  return times_of(flight.series).subspan(first, flight.window.noise_end - first);
}

// The group of an axis: 0 is horizontal, 1 vertical.
[[nodiscard]] constexpr std::size_t group_of(std::size_t axis) { return axis == axis_down ? 1 : 0; }

// The standard deviation of a sample's velocity (m/s) and position (m) along one axis, from the accuracy that the
// logger states; not less than a logger can reach.
[[nodiscard]] double stated_velocity_sigma(const gps_point &sample);
[[nodiscard]] double stated_position_sigma(const gps_point &sample, std::size_t group);

// The means of their squares over the samples of flown_times.
[[nodiscard]] stated_noise mean_stated_noise(const measured_flight &flight);

// Estimates the lag of the velocities from 2 s before the turn to the stop. A lag of 0.03 s or more, which is more than
// chance, is removed from the series.
[[nodiscard]] velocity_lag take_out_lag(measured_flight &flight);

// The scale of the noise. step is the usual time between samples, s. Needs the lag removed.
[[nodiscard]] noise_scale measure_noise(measured_flight &flight, const stated_noise &stated, double step);

// The 95 % quantile of the horizontal contradiction over a second, m, without what may be errors of the integral. Needs
// the lag removed.
[[nodiscard]] double measure_contradiction(measured_flight &flight);

// The greatest contradiction along an axis over 0.4, 1 or 3 s, from before the turn to after the stop and without what
// may be errors of the integral, divided by the median of those up to the stop. Needs the lag removed.
[[nodiscard]] double measure_peak(measured_flight &flight);

// The greatest jerk of the velocities before the stop, m/s3, from accelerations that are means over 0.4 s. Samples
// slower than 10 m/s are left out.
[[nodiscard]] double measure_jerk(const measured_flight &flight);

// The roughness of the velocities (see roughness_of), the mean of the axes, m/s. Needs the velocities as measured:
// those without the lag are interpolated and therefore smoother.
[[nodiscard]] double measure_roughness(measured_flight &flight);

// The median and the greatest time between consecutive samples, s; 0 for fewer than two samples. work has room for as
// many numbers as the times.
[[nodiscard]] double usual_step(std::span<const double> times, std::span<double> work);
[[nodiscard]] double longest_step(std::span<const double> times);

}  // namespace tarvel
