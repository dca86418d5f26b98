// A Gauss-Markov error of the velocity contributes to the mean square of the contradiction over a span h. Its part
// grows with h squared while h is short, and with h once h is longer than the correlation time. The part of a wandering
// position grows with h from the start. Four spans are therefore enough to distinguish the velocity's variance, its
// correlation time and the variance of the wander. The variances are fitted for each of several correlation times, by
// relative differences, and with each mean square weighted by the number of its independent spans; the correlation time
// that fits best is used.
#include "check/noise_scale.h"

#include <algorithm>
#include <cmath>

#include "check/fixed_math.h"

namespace tarvel {

namespace {

constexpr std::size_t span_count = contradiction_spans.size();

constexpr double shortest_memory = 0.125;  // s
constexpr double memory_step = 1.4142135623730951;
constexpr int memory_count = 15;  // up to 16 s

// A short stretch determines the correlation time badly. The misfit of each is therefore increased by this weight times
// the squared logarithm of its ratio to the usual one.
constexpr double usual_memory_weight = 0.5;

constexpr int fit_rounds = 8;
constexpr int sweeps = 12;
constexpr double least_mean_square = 1e-8;  // m2; from the last digits in a file
constexpr double least_step = 0.005;        // m between samples: positions are not better than their last digits
constexpr double least_velocity = 0.01;     // m/s, the same for velocities
constexpr int most_degrees = 200;
constexpr int least_degrees = 4;

// The variance of the integral of a velocity error of variance 1 over a span, by the trapezoidal rule. Each addend is
// smaller than the one before: the first that does not change the sum ends it, since a span of years has many.
double integrated_variance(double step, double span, double memory) {
  const double steps = std::max(std::round(span / step), 1.0);
  const double kept = fixed_exp(-step / memory);
  double sum = steps - 0.5;
  double power = 1.0;
  for (int apart = 1; apart <= steps; ++apart) {
    power *= kept;
    const double before = sum;
    sum += 2.0 * power * (apart == steps ? 0.25 : steps - apart);
    if (sum == before) break;
  }
  return step * step * sum;
}

double wandered_variance(double span) { return 2.0 * (1.0 - fixed_exp(-span / stated_memory.position)); }

// The unknowns: the squares of the factors of the velocity's error and of the wander, horizontal and vertical.
struct squared_factors {
  double velocity = 1.0;
  std::array<double, 2> wander = {stated_wander * stated_wander, stated_wander *stated_wander};
};

// What each unknown adds to a mean square.
struct noise_model {
  std::array<double, span_count> velocity{};
  std::array<std::array<double, span_count>, 2> wander{};
  std::array<std::array<double, span_count>, 2> independent{};  // number of independent spans
};

noise_model model_of(const measured_noise &measured, const stated_noise &stated, double memory) {
  noise_model model;
  for (std::size_t j = 0; j < span_count; ++j) {
    const double span = measured.seconds[j];
    if (!(span > 0.0)) continue;  // the stretch is shorter
    model.velocity[j] = stated.velocity * integrated_variance(measured.step, span, memory);
    for (std::size_t group = 0; group < 2; ++group) {
      const double axes = group == 0 ? 2.0 : 1.0;
      model.wander[group][j] = stated.position[group] * wandered_variance(span);
      model.independent[group][j] = axes * measured.duration / (span + memory);
    }
  }
  return model;
}

double expected(const noise_model &model, const squared_factors &factors, std::size_t group, std::size_t j) {
  return factors.velocity * model.velocity[j] + factors.wander[group] * model.wander[group][j];
}

double seen(const measured_noise &measured, std::size_t group, std::size_t j) {
  return std::max(measured.mean_square[group][j], least_mean_square);
}

// Fits one unknown by least squares while the others stay fixed. Its value is never below 0.
struct one_unknown {
  double products = 0.0;
  double squares = 0.0;

  void add(double part, double rest, double weight) {
    products += weight * part * rest;
    squares += weight * part * part;
  }
  [[nodiscard]] double value() const { return squares > 0.0 ? std::max(products / squares, 0.0) : 0.0; }
};

using span_weights = std::array<std::array<double, span_count>, 2>;

void sweep(const measured_noise &measured, const noise_model &model, const span_weights &weights,
           squared_factors &factors) {
  one_unknown velocity;
  for (std::size_t group = 0; group < 2; ++group) {
    for (std::size_t j = 0; j < span_count; ++j) {
      const double rest = seen(measured, group, j) - factors.wander[group] * model.wander[group][j];
      velocity.add(model.velocity[j], rest, weights[group][j]);
    }
  }
  factors.velocity = velocity.value();
  for (std::size_t group = 0; group < 2; ++group) {
    one_unknown wander;
    for (std::size_t j = 0; j < span_count; ++j) {
      const double rest = seen(measured, group, j) - factors.velocity * model.velocity[j];
      wander.add(model.wander[group][j], rest, weights[group][j]);
    }
    factors.wander[group] = wander.value();
  }
}

// After the first round the weights come from the model, since a measured mean square that is small by chance would
// count too much.
squared_factors fit_factors(const measured_noise &measured, const noise_model &model) {
  squared_factors factors;
  for (int round = 0; round < fit_rounds; ++round) {
    span_weights weights{};
    for (std::size_t group = 0; group < 2; ++group) {
      for (std::size_t j = 0; j < span_count; ++j) {
        const double value =
            round == 0 ? seen(measured, group, j) : std::max(expected(model, factors, group, j), least_mean_square);
        weights[group][j] = model.independent[group][j] / (value * value);
      }
    }
    for (int i = 0; i < sweeps; ++i) sweep(measured, model, weights, factors);
  }
  return factors;
}

double misfit(const measured_noise &measured, const noise_model &model, const squared_factors &factors, double memory) {
  const double unusual = fixed_log(memory / stated_memory.velocity);
  double sum = usual_memory_weight * unusual * unusual;
  for (std::size_t group = 0; group < 2; ++group) {
    for (std::size_t j = 0; j < span_count; ++j) {
      const double part = seen(measured, group, j) / std::max(expected(model, factors, group, j), least_mean_square);
      sum += model.independent[group][j] * (part - 1.0 - fixed_log(part));
    }
  }
  return sum;
}

double contradiction_ratio(const measured_noise &measured, const stated_noise &stated) {
  const noise_model model = model_of(measured, stated, stated_memory.velocity);
  const squared_factors factors;
  const double should = 2.0 * expected(model, factors, 0, one_second) + expected(model, factors, 1, one_second);
  const double is = 2.0 * seen(measured, 0, one_second) + seen(measured, 1, one_second);
  return std::sqrt(is / should);
}

// The factor of an error, at least the one that gives a standard deviation of `least`.
double at_least(double squared_factor, double stated_variance, double least) {
  return std::sqrt(std::max(squared_factor, least * least / stated_variance));
}

}  // namespace

noise_scale fit_noise(const measured_noise &measured, const stated_noise &stated) {
  noise_scale scale;
  double best = 0.0;
  double memory = shortest_memory;
  squared_factors factors;
  for (int i = 0; i < memory_count; ++i, memory *= memory_step) {
    const noise_model model = model_of(measured, stated, memory);
    const squared_factors fitted = fit_factors(measured, model);
    const double miss = misfit(measured, model, fitted, memory);
    if (i != 0 && !(miss < best)) continue;
    best = miss;
    factors = fitted;
    scale.memory.velocity = memory;
  }
  const double step_variance = wandered_variance(measured.step);
  scale.velocity = at_least(factors.velocity, stated.velocity, least_velocity);
  for (std::size_t group = 0; group < 2; ++group) {
    scale.wander[group] = at_least(factors.wander[group], stated.position[group] * step_variance, least_step);
  }
  const double independent = 3.0 * measured.duration / std::max(2.0 * scale.memory.velocity, 1.0);
  scale.degrees_of_freedom = std::clamp(static_cast<int>(std::min(independent, 1e6)), least_degrees, most_degrees);
  scale.ratio = contradiction_ratio(measured, stated);
  return scale;
}

double expected_roughness(double sigma, double step, double memory) {
  constexpr double normal_quartile = 0.31863936396437515;  // lower quartile of a standard normal's absolute value
  const double kept = fixed_exp(-step / memory);
  const double variance = 20.0 - 30.0 * kept + 12.0 * kept * kept - 2.0 * kept * kept * kept;
  return normal_quartile * sigma * std::sqrt(variance);
}

}  // namespace tarvel
