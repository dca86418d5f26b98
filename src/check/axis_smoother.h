// Draws flights along one axis from their distribution, given what the logger measured.
//
// The state at each sample is position, velocity and acceleration; the jerk is white with a density that may differ
// from sample to sample. The measured velocity has an error with a correlation time of some seconds (a Gauss-Markov
// process of first order), the measured position one with a correlation time of a minute. The precision matrix of all
// states is banded. With its Cholesky factor, solving one system gives the most probable flight, and solving another
// gives a flight drawn from the distribution. Adding noise to the measured track instead would count the noise twice:
// detectors that step from sample to sample would then stop at another sample in every draw.
#pragma once

#include <cstddef>
#include <span>

#include "check/banded_cholesky.h"
#include "check/random_draws.h"
#include "support/memory.h"

namespace tarvel {

// Correlation times in seconds.
struct error_memory {
  double velocity = 2.0;
  double position = 60.0;
};

// What the logger reports along one axis. All spans have the same length. Metres, m/s, seconds.
struct axis_measurement {
  std::span<const double> times;  // strictly increasing
  std::span<const double> positions;
  std::span<const double> velocities;
  std::span<const double> position_sigmas;  // standard deviations of the errors, positive
  std::span<const double> velocity_sigmas;
  error_memory memory;
};

struct motion_state {
  double position = 0.0;
  double velocity = 0.0;
  double acceleration = 0.0;
};

// The most probable flight, and the Cholesky factor of its precision matrix. Both have three elements for each sample:
// position, velocity and acceleration.
struct smoothed_axis {
  std::size_t count = 0;
  owned_array<double> states;
  owned_array<band_row> factor;
};

[[nodiscard]] inline motion_state state_of(const smoothed_axis &axis, std::size_t k) {
  return {axis.states[3 * k], axis.states[3 * k + 1], axis.states[3 * k + 2]};
}

// Allocates memory for this many samples. False when memory is short.
[[nodiscard]] bool make_room(smoothed_axis &axis, std::size_t count);

// Fills axis, which has room for the samples, from the measurement and a jerk density (m2/s5) for each interval between
// samples. False when the numbers allow no solution; the content of axis is then undefined.
[[nodiscard]] bool smooth_axis(const axis_measurement &measured, std::span<const double> jerk_densities,
                               smoothed_axis &axis);

// The same with densities that follow the flight: each is factor (s) times the mean square of the fitted jerk within
// 0.75 s to either side, found in three rounds. densities has an element for each sample, and afterwards holds those of
// the last round.
[[nodiscard]] bool smooth_axis_locally(const axis_measurement &measured, double factor, std::span<double> densities,
                                       smoothed_axis &axis);

// Draws a flight. Fills deviations, three for each sample, with its differences from the most probable flight.
void draw_deviations(const smoothed_axis &axis, random_source &source, std::span<double> deviations);

}  // namespace tarvel
