#include "check/contradiction.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

namespace {

constexpr double longest_known_step = 1.0;  // s; what was flown over a longer one is not in the velocities

// The rate of change at a sample, from its neighbours.
double slope_at(std::span<const double> times, std::span<const double> values, std::size_t k) {
  const std::size_t before = k == 0 ? 0 : k - 1;
  const std::size_t after = std::min(k + 1, times.size() - 1);
  return (values[after] - values[before]) / (times[after] - times[before]);
}

// The greatest absolute value of the fourth differences of a stretch; 0 for fewer than five samples.
double greatest_fourth_difference(std::span<const double> v) {
  double greatest = 0.0;
  for (std::size_t k = 4; k < v.size(); ++k) {
    greatest = std::max(greatest, std::fabs(v[k] - 4.0 * v[k - 1] + 6.0 * v[k - 2] - 4.0 * v[k - 3] + v[k - 4]));
  }
  return greatest;
}

// The error (m) that the integral over the step before sample k may have: a 24th of the greatest fourth difference near
// it, times the step. That is the error where a jerk begins all at once. Where a velocity turns steadily it is a 65th, or
// a 48th when the velocity turns by 110 degrees a step; canopies do not turn faster at a sample a second.
double integration_error(std::span<const double> times, std::span<const double> velocities, std::size_t k) {
  const double dt = times[k] - times[k - 1];
  if (dt > longest_known_step) return 0.0;
  const std::size_t last = std::min(std::max<std::size_t>(k + 3, 4), times.size() - 1);
  const std::size_t first = std::min(std::max<std::size_t>(k, 4) - 4, std::max<std::size_t>(last, 4) - 4);
  for (std::size_t i = first; i < last; ++i) {
    if (times[i + 1] - times[i] <= longest_exact_step) return 0.0;
  }
  return greatest_fourth_difference(velocities.subspan(first, last + 1 - first)) * dt / 24.0;
}

// The part of a step from sample k to a later one that errors of the integral do not explain.
double beyond_errors(double step, std::span<const double> squared_errors, std::size_t k, std::size_t later) {
  return std::max(step - std::sqrt(squared_errors[later] - squared_errors[k]), 0.0);
}

}  // namespace

void accumulate_contradiction(std::span<const double> times, std::span<const double> positions,
                              std::span<const double> velocities, std::span<double> drift) {
  drift[0] = 0.0;
  for (std::size_t k = 1; k < times.size(); ++k) {
    const double dt = times[k] - times[k - 1];
    drift[k] = drift[k - 1];
    if (dt > longest_known_step) continue;
    const double bend = slope_at(times, velocities, k) - slope_at(times, velocities, k - 1);
    const double flown = (velocities[k - 1] + velocities[k]) / 2.0 * dt - bend * dt * dt / 12.0;
    drift[k] += positions[k] - positions[k - 1] - flown;
  }
}

void add_integration_errors(std::span<const double> times, std::span<const double> velocities,
                            std::span<double> squared_errors) {
  double sum = 0.0;
  for (std::size_t k = 1; k < times.size(); ++k) {
    const double error = integration_error(times, velocities, k);
    sum += error * error;
    squared_errors[k] += sum;
  }
}

std::size_t sample_after(std::span<const double> times, std::size_t k, double span) {
  const auto begin = times.begin() + static_cast<std::ptrdiff_t>(k + 1);
  const auto found = std::lower_bound(begin, times.end(), times[k] + span);
  const auto index = static_cast<std::size_t>(found - times.begin());
  if (found == begin || found == times.end()) return index;
  return times[k] + span - times[index - 1] < times[index] - times[k] - span ? index - 1 : index;
}

span_contradiction contradiction_over(std::span<const double> times, std::span<const double> drift, double span) {
  span_contradiction result;
  for (std::size_t k = 0; k < times.size(); ++k) {
    const std::size_t later = sample_after(times, k, span);
    if (later >= times.size()) break;
    const double step = drift[later] - drift[k];
    result.seconds += times[later] - times[k];
    result.mean_square += step * step;
    ++result.steps;
  }
  if (result.steps == 0) return result;
  result.seconds /= static_cast<double>(result.steps);
  result.mean_square /= static_cast<double>(result.steps);
  return result;
}

double contradiction_quantile(std::span<const double> times, std::span<const double> north,
                              std::span<const double> east, std::span<const double> squared_errors, double span,
                              double part, std::span<double> work) {
  std::size_t count = 0;
  for (std::size_t k = 0; k < times.size(); ++k) {
    const std::size_t later = sample_after(times, k, span);
    if (later >= times.size()) break;
    const double to_north = north[later] - north[k];
    const double to_east = east[later] - east[k];
    const double step = std::sqrt(to_north * to_north + to_east * to_east);
    work[count++] = beyond_errors(step, squared_errors, k, later);
  }
  if (count == 0) return 0.0;
  const auto place = static_cast<std::size_t>(part * static_cast<double>(count - 1));
  const std::span<double> steps = work.first(count);
  std::nth_element(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(place), steps.end());
  return steps[place];
}

double contradiction_peak(std::span<const double> times, std::span<const double> drift,
                          std::span<const double> squared_errors, std::size_t usual, double span,
                          std::span<double> work) {
  std::size_t count = 0;
  double greatest = 0.0;
  for (std::size_t k = 0; k < times.size(); ++k) {
    const std::size_t later = sample_after(times, k, span);
    if (later >= times.size()) break;
    const double step = std::fabs(drift[later] - drift[k]);
    greatest = std::max(greatest, beyond_errors(step, squared_errors, k, later));
    if (later < usual) work[count++] = step;
  }
  if (count == 0) return 0.0;
  const auto median = work.begin() + static_cast<std::ptrdiff_t>(count / 2);
  std::nth_element(work.begin(), median, work.begin() + static_cast<std::ptrdiff_t>(count));
  return *median > 0.0 ? greatest / *median : 0.0;
}

double roughness_of(std::span<const double> velocities, std::span<double> work) {
  if (velocities.size() < 4) return 0.0;
  const std::span<double> differences = work.first(velocities.size() - 3);
  for (std::size_t k = 0; k < differences.size(); ++k) {
    const std::span<const double> v = velocities.subspan(k, 4);
    differences[k] = std::fabs(v[3] - 3.0 * v[2] + 3.0 * v[1] - v[0]);
  }
  const auto quartile = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 4);
  std::nth_element(differences.begin(), quartile, differences.end());
  return *quartile;
}

}  // namespace tarvel
