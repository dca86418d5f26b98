// How far positions and velocities of a track contradict each other: the change of the position over a span, less the
// integral of the velocity over it. Without measurement errors it would be 0.
#pragma once

#include <cstddef>
#include <span>

#include "support/memory.h"

namespace tarvel {

// s. In a turn of 110 degrees a second at 12 m/s the integral over such a step is right to a centimetre.
constexpr double longest_exact_step = 0.3;

// Fills drift with the distance (m) by which the position is ahead of the integrated velocity at each sample, 0 at the
// first. Between two samples the velocity is integrated as a cubic with their slopes. Over a gap of more than a second
// the drift does not change. All spans have the same length.
void accumulate_contradiction(std::span<const double> times, std::span<const double> positions,
                              std::span<const double> velocities, std::span<double> drift);

// Adds to each sample the sum of the squared errors (m2) that the integral of the velocity may have up to there, since
// the acceleration changes between samples. Steps of up to longest_exact_step have none.
void add_integration_errors(std::span<const double> times, std::span<const double> velocities,
                            std::span<double> squared_errors);

// The sample whose time is nearest to a span (s) after sample k, at least k + 1; the number of samples when the track
// ends before.
[[nodiscard]] std::size_t sample_after(std::span<const double> times, std::size_t k, double span);

// The steps of a drift over a span (s; 0 for one sample).
struct span_contradiction {
  double seconds = 0.0;      // their mean duration
  double mean_square = 0.0;  // m2
  std::size_t steps = 0;     // their number
};
[[nodiscard]] span_contradiction contradiction_over(std::span<const double> times, std::span<const double> drift,
                                                    double span);

// The quantile `part` (0 to 1) of the horizontal lengths (m) of the drifts' steps over a span (s), each less the errors
// of the integrals along both axes; 0 without steps. work has room for as many numbers as the drifts.
[[nodiscard]] double contradiction_quantile(std::span<const double> times, std::span<const double> north,
                                            std::span<const double> east, std::span<const double> squared_errors,
                                            double span, double part, std::span<double> work);

// The greatest step of a drift over a span (s), less the error of the integral, divided by the median of the steps that
// end within the first `usual` samples: positions that are wrong for some seconds stand out from noise that lasts. 0
// without such steps. work has room for as many numbers as the drift.
[[nodiscard]] double contradiction_peak(std::span<const double> times, std::span<const double> drift,
                                        std::span<const double> squared_errors, std::size_t usual, double span,
                                        std::span<double> work);

// The roughness of the velocity from sample to sample, m/s: the lower quartile of the absolute values of its third
// differences, since manoeuvres make only a few of them large. 0 for fewer than four velocities. work has room for as
// many numbers as the velocities.
[[nodiscard]] double roughness_of(std::span<const double> velocities, std::span<double> work);

}  // namespace tarvel
