// How noisy a track is, from its own contradiction: what a logger says of its accuracy is wrong by factors.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "check/axis_smoother.h"
#include "check/motion_series.h"

namespace tarvel {

// Spans (s) over which positions are held against integrated velocities; 0 is one sample. Short ones show the
// velocity's errors that last and the steps of the position, long ones how soon the velocity's errors are forgotten.
constexpr std::array<double, 4> contradiction_spans = {0.0, 0.4, 1.0, 3.0};

// What is expected of a logger before its track is looked at: the velocity's error an axis, of its stated accuracy, the
// wander of the position, of its stated accuracy an axis, and how long the velocity's errors last.
constexpr double stated_velocity_part = 0.5773502691896258;    // 1 / sqrt(3): the accuracy is that of three axes
constexpr double stated_horizontal_part = 0.7071067811865476;  // 1 / sqrt(2): that of two
constexpr double stated_wander = 0.3;
constexpr error_memory stated_memory = {};

// Variances an axis of one stretch, as the logger states them.
struct stated_noise {
  double velocity = 0.0;             // (m/s)2
  std::array<double, 2> position{};  // m2, horizontal and vertical
};

// Factors on the stated standard deviations.
struct noise_scale {
  double velocity = 1.0;
  std::array<double, 2> wander = {stated_wander, stated_wander};  // horizontal, vertical
  error_memory memory;
  int degrees_of_freedom = 1;  // how well the factors are known: those of a chi-square
  double ratio = 0.0;          // contradiction over a second, of the one that the logger's statement leads to expect
};

// From the mean squares over the spans, horizontal (the mean of two axes) and vertical, of a stretch of so many seconds.
struct measured_noise {
  std::array<double, 4> seconds{};
  std::array<std::array<double, 4>, 2> mean_square{};
  double step = 0.1;      // s between samples
  double duration = 0.0;  // s
};
[[nodiscard]] noise_scale fit_noise(const measured_noise &measured, const stated_noise &stated);

// The roughness (m/s) that a velocity error of a standard deviation and a forgetting time should have: the lower quartile
// of its third differences' absolute values.
[[nodiscard]] double expected_roughness(double sigma, double step, double memory);

}  // namespace tarvel
