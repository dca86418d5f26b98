// Draws tracks that may have been flown from their distribution, given the measured track.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "check/axis_smoother.h"
#include "check/figures.h"
#include "check/measured_flight.h"
#include "check/random_draws.h"
#include "support/memory.h"

namespace tarvel {

// Factors (s) of the jerk density, each used in a third of the draws. With any one of them alone fewer intervals
// contained the truth.
constexpr std::array<double, 3> jerk_factors = {0.2, 0.08, 0.5};

// What the draws need beside the measured flight. The closer the samples, the more often a drawn acceleration changes
// its sign, and detectors that continue while the descent grows would stop at each change. Flights are therefore drawn
// at nodes, which are samples at least 0.2 s apart, and follow the polynomial of least jerk between them.
struct flight_draws {
  motion_series nodes;
  owned_array<std::uint32_t> node_samples;  // their indices in the window
  std::array<std::array<smoothed_axis, axis_count>, jerk_factors.size()> axes;
  std::array<owned_array<double>, axis_count> position_sigmas;
  owned_array<double> velocity_sigmas;
  std::array<owned_array<double>, axis_count> states;  // of the last draw, three for each node
  std::array<double, axis_count> offset_sigmas{};      // m, of the error that all positions have in common
  int degrees_of_freedom = 1;                          // of the estimated noise scale
};

// False when memory is short.
[[nodiscard]] bool make_room(flight_draws &draws, const measured_flight &flight);

// Finds the most probable flight for each jerk factor. False when the numbers allow no solution.
[[nodiscard]] bool smooth_flight(const stated_noise &stated, const noise_scale &noise, measured_flight &flight,
                                 flight_draws &draws);

// Replaces positions and velocities of the window's samples by a drawn flight. The number of the draw chooses the
// factor of the jerk density.
void draw_track(flight_draws &draws, std::uint32_t draw, random_source &source, measured_flight &flight);

}  // namespace tarvel
