// The noise of a track, estimated from the contradiction between its positions and velocities. It differs by a factor
// from the accuracy that the logger states.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "check/axis_smoother.h"
#include "check/motion_series.h"

namespace tarvel {

// Spans (s) over which positions are compared with integrated velocities; 0 is one sample. Short ones show the size of
// the velocity's errors and the wander of the position, long ones the correlation time of the velocity's errors.
constexpr std::array<double, 4> contradiction_spans = {0.0, 0.4, 1.0, 3.0};
constexpr std::size_t one_second = 2;  // index in contradiction_spans

// What is assumed of a logger before its track is measured: the velocity's error along an axis as a part of its stated
// accuracy, the position's error along an axis likewise, the wander of the position as a part of that error, and the
// correlation times.
constexpr double stated_velocity_part = 0.5773502691896258;    // 1 / sqrt(3): the accuracy is that of three axes
constexpr double stated_horizontal_part = 0.7071067811865476;  // 1 / sqrt(2): that of two
constexpr double stated_wander = 0.3;
constexpr error_memory stated_memory = {};

// Variances along one axis of a stretch, as the logger states them.
struct stated_noise {
  double velocity = 0.0;             // (m/s)2
  std::array<double, 2> position{};  // m2, horizontal and vertical
};

// Factors on the stated standard deviations.
struct noise_scale {
  double velocity = 1.0;
  std::array<double, 2> wander = {stated_wander, stated_wander};  // horizontal, vertical
  error_memory memory;
  int degrees_of_freedom = 1;  // of the chi-square distribution of the estimated variances
  double ratio = 0.0;          // contradiction over a second, as a multiple of the one that the stated accuracy implies
};

// The contradiction in a stretch over each of contradiction_spans.
struct measured_noise {
  std::array<double, 4> seconds{};                     // mean durations; 0 when the stretch is shorter
  std::array<std::array<double, 4>, 2> mean_square{};  // m2: horizontal (the mean of two axes), vertical
  double step = 0.1;                                   // s between samples
  double duration = 0.0;                               // s
};
// The scale that fits the measured contradiction best.
[[nodiscard]] noise_scale fit_noise(const measured_noise &measured, const stated_noise &stated);

// The roughness (m/s; see roughness_of) of a velocity error with the standard deviation sigma (m/s) and the correlation
// time memory (s), for samples that are step (s) apart.
[[nodiscard]] double expected_roughness(double sigma, double step, double memory);

}  // namespace tarvel
