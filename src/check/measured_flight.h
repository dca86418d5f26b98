// What is measured of a run's flight, and how noisy it is.
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

// The samples that the figures depend on, and the same along three axes.
struct measured_flight {
  check_window window;
  motion_series series;
  owned_array<double> work;  // three times as long as the series; scratch space of each call
};

// Fills the series from the window. False when memory is short.
[[nodiscard]] bool fill_series(measured_flight &flight);

// The times of the samples from before the turn to the stop: what noise and lag are measured of.
[[nodiscard]] inline std::span<const double> flown_times(const measured_flight &flight) {
  const std::size_t first = flight.window.closely.first;
  return times_of(flight.series).subspan(first, flight.window.noise_end - first);
}

// 0 is horizontal, 1 vertical.
[[nodiscard]] constexpr std::size_t group_of(std::size_t axis) { return axis == axis_down ? 1 : 0; }

// The standard deviations along one axis that the logger states of a sample, but no less than a logger can reach.
[[nodiscard]] double stated_velocity_sigma(const gps_point &sample);
[[nodiscard]] double stated_position_sigma(const gps_point &sample, std::size_t group);

// The means of their squares over what is flown.
[[nodiscard]] stated_noise mean_stated_noise(const measured_flight &flight);

// The lag of the velocities, from before the turn to the stop. A lag that is more than chance is removed from the
// series.
[[nodiscard]] velocity_lag take_out_lag(measured_flight &flight);

// Needs the lag taken out. step: s between samples, as is usual in this track.
[[nodiscard]] noise_scale measure_noise(measured_flight &flight, const stated_noise &stated, double step);

// The horizontal contradiction over a second that 95 % do not exceed, m. Needs the lag taken out.
[[nodiscard]] double measure_contradiction(measured_flight &flight);

// The greatest contradiction along an axis over a third of a second to three, up to behind the stop, in proportion to
// the median of what is flown. Needs the lag taken out.
[[nodiscard]] double measure_peak(measured_flight &flight);

// The greatest jerk of the velocities before the stop, m/s3, each acceleration being the mean over 0.4 s.
[[nodiscard]] double measure_jerk(const measured_flight &flight);

// Of the velocities, the mean of the axes. Needs them as measured: interpolated ones are smoother.
[[nodiscard]] double measure_roughness(measured_flight &flight);

// The median; 0 without two times. work holds as many numbers as the times.
[[nodiscard]] double usual_step(std::span<const double> times, std::span<double> work);
[[nodiscard]] double longest_step(std::span<const double> times);

}  // namespace tarvel
