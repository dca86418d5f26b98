// How far positions and velocities of a track contradict each other: the change of the position over a span, less the
// integral of the velocity over it. Without measurement errors it would be 0.
#pragma once

#include <cstddef>
#include <span>

#include "support/memory.h"

namespace tarvel {

// How far the position runs ahead of the integrated velocity at each sample, from 0 at the first. Metres; the integral
// is that of a cubic through two samples and their slopes. Over a gap of more than a second it stays the same. All of
// one length.
void accumulate_contradiction(std::span<const double> times, std::span<const double> positions,
                              std::span<const double> velocities, std::span<double> drift);

// The sample that lies a span (s) behind sample k, to half a step; the number of samples when the track ends before.
[[nodiscard]] std::size_t sample_after(std::span<const double> times, std::size_t k, double span);

// The mean square (m2) of the drift's steps over a span (s; 0 for one sample), and how long the spans really are.
struct span_contradiction {
  double seconds = 0.0;
  double mean_square = 0.0;
  std::size_t steps = 0;
};
[[nodiscard]] span_contradiction contradiction_over(std::span<const double> times, std::span<const double> drift,
                                                    double span);

// The quantile of the horizontal lengths of the drifts' steps over a span; 0 without steps. work holds as many numbers
// as the drifts.
[[nodiscard]] double contradiction_quantile(std::span<const double> times, std::span<const double> north,
                                            std::span<const double> east, double span, double part,
                                            std::span<double> work);

// The greatest step of a drift over a span, in proportion to the median of those within the first usual samples:
// seconds of a false position stand out of noise that lasts. 0 without such steps. work holds as many numbers as the
// drift.
[[nodiscard]] double contradiction_peak(std::span<const double> times, std::span<const double> drift, std::size_t usual,
                                        double span, std::span<double> work);

// How rough the velocity is from sample to sample: the lower quartile of its third differences' absolute values, m/s,
// since manoeuvres make few of them large. work holds as many numbers as the velocities.
[[nodiscard]] double roughness_of(std::span<const double> velocities, std::span<double> work);

}  // namespace tarvel
