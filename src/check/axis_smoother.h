// One axis of a flight, drawn given what the logger measured of it.
//
// The state at each sample is position, velocity and acceleration; the jerk is white with a density that may differ
// from sample to sample. The measured velocity has an error with a correlation time of some seconds (a Gauss-Markov
// process of first order), the measured position one with a correlation time of a minute. The precision of all states
// is banded; with its Cholesky factor the most probable flight is one solution, and a flight drawn from the
// distribution another. Noise added to the measured track would be in it twice: detectors that step from sample to
// sample would then stop at another sample in every draw.
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

// What the logger says along one axis; equal lengths. Metres, m/s, seconds.
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

// The most probable flight, and the factor of its precision: three rows a sample, for the state's three quantities.
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

// Fills both from the measurement and a jerk density (m2/s5) for each interval between samples; axis has room for them.
// False when the numbers allow no solution.
[[nodiscard]] bool smooth_axis(const axis_measurement &measured, std::span<const double> jerk_densities,
                               smoothed_axis &axis);

// The same with densities that follow the flight: factor (s) times the mean square of the fitted jerk 0.75 s to either
// side, found in three rounds. densities, one for each sample, are left as the last round used them.
[[nodiscard]] bool smooth_axis_locally(const axis_measurement &measured, double factor, std::span<double> densities,
                                       smoothed_axis &axis);

// Fills deviations, three for each sample, with a draw of the flight's deviation from the most probable one.
void draw_deviations(const smoothed_axis &axis, random_source &source, std::span<double> deviations);

}  // namespace tarvel
