#include "check/axis_smoother.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

// Expected values are worked out in long double.
#pragma GCC diagnostic ignored "-Wdouble-promotion"

namespace tarvel {
namespace {

struct measurement {
  std::vector<double> times, positions, velocities, position_sigmas, velocity_sigmas;
  error_memory memory;

  [[nodiscard]] axis_measurement view() const {
    return {times, positions, velocities, position_sigmas, velocity_sigmas, memory};
  }
};

// A dive and its end, measured unevenly and with accuracies that change.
measurement short_dive() {
  measurement m;
  double t = 100.0;
  for (int i = 0; i < 7; ++i) {
    m.times.push_back(t);
    m.positions.push_back(50.0 * std::cos(0.8 * (t - 100.0)) + 0.03 * i * i);
    m.velocities.push_back(-40.0 * std::sin(0.8 * (t - 100.0)) + 0.05 * (i % 3));
    m.position_sigmas.push_back(0.3 + 0.02 * i);
    m.velocity_sigmas.push_back(0.2 - 0.01 * i);
    t += i % 2 == 0 ? 0.2 : 0.3;
  }
  return m;
}

using dense = std::vector<std::vector<long double>>;

dense zeros(std::size_t rows, std::size_t columns) { return dense(rows, std::vector<long double>(columns)); }

dense product(const dense &a, const dense &b) {
  dense c = zeros(a.size(), b[0].size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t k = 0; k < b.size(); ++k) {
      for (std::size_t j = 0; j < b[0].size(); ++j) c[i][j] += a[i][k] * b[k][j];
    }
  }
  return c;
}

dense transposed(const dense &a) {
  dense t = zeros(a[0].size(), a.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < a[0].size(); ++j) t[j][i] = a[i][j];
  }
  return t;
}

dense inverse(dense a) {
  const std::size_t n = a.size();
  dense b = zeros(n, n);
  for (std::size_t i = 0; i < n; ++i) b[i][i] = 1.0L;
  for (std::size_t i = 0; i < n; ++i) {
    std::size_t pivot = i;
    for (std::size_t k = i; k < n; ++k) {
      if (std::fabs(a[k][i]) > std::fabs(a[pivot][i])) pivot = k;
    }
    std::swap(a[i], a[pivot]);
    std::swap(b[i], b[pivot]);
    for (std::size_t k = 0; k < n; ++k) {
      if (k == i) continue;
      const long double part = a[k][i] / a[i][i];
      for (std::size_t j = 0; j < n; ++j) {
        a[k][j] -= part * a[i][j];
        b[k][j] -= part * b[i][j];
      }
    }
    const long double pivot_value = a[i][i];
    for (std::size_t j = 0; j < n; ++j) {
      a[i][j] /= pivot_value;
      b[i][j] /= pivot_value;
    }
  }
  return b;
}

// The same by covariances: all states together, prior and errors as they are defined, then conditioned on what was
// measured.
struct conditioned {
  dense mean, covariance;
};

conditioned by_covariances(const measurement &m, const std::vector<double> &densities) {
  const std::size_t n = m.times.size();
  dense prior = zeros(3 * n, 3 * n);
  constexpr long double unknown = 1e3L;  // against errors of 0.3 at most
  prior[0][0] = prior[1][1] = unknown * unknown;
  prior[2][2] = 900.0L;
  for (std::size_t k = 0; k + 1 < n; ++k) {
    const long double t = m.times[k + 1] - m.times[k];
    const long double q = densities[k];
    const dense f = {{1, t, t * t / 2}, {0, 1, t}, {0, 0, 1}};
    const dense noise = {{t * t * t * t * t / 20, t * t * t * t / 8, t * t * t / 6},
                         {t * t * t * t / 8, t * t * t / 3, t * t / 2},
                         {t * t * t / 6, t * t / 2, t}};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3 * (k + 1); ++j) {
        long double sum = 0.0L;
        for (std::size_t l = 0; l < 3; ++l) sum += f[i][l] * prior[3 * k + l][j];
        prior[3 * (k + 1) + i][j] = prior[j][3 * (k + 1) + i] = sum;
      }
    }
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) {
        long double sum = q * noise[i][j];
        for (std::size_t l = 0; l < 3; ++l) sum += prior[3 * (k + 1) + i][3 * k + l] * f[j][l];
        prior[3 * (k + 1) + i][3 * (k + 1) + j] = sum;
      }
    }
  }
  dense seen = zeros(2 * n, 3 * n);
  dense errors = zeros(2 * n, 2 * n);
  dense measured = zeros(2 * n, 1);
  for (std::size_t k = 0; k < n; ++k) {
    seen[k][3 * k] = seen[n + k][3 * k + 1] = 1.0L;
    measured[k][0] = m.positions[k];
    measured[n + k][0] = m.velocities[k];
    for (std::size_t l = 0; l < n; ++l) {
      const long double apart = std::fabs(m.times[k] - m.times[l]);
      errors[k][l] = m.position_sigmas[k] * m.position_sigmas[l] * std::exp(-apart / m.memory.position);
      errors[n + k][n + l] = m.velocity_sigmas[k] * m.velocity_sigmas[l] * std::exp(-apart / m.memory.velocity);
    }
  }
  // The first state is most probably the measured one.
  dense centre = zeros(3 * n, 1);
  const double first_acceleration = (m.velocities[1] - m.velocities[0]) / (m.times[1] - m.times[0]);
  for (std::size_t k = 0; k < n; ++k) {
    const long double t = m.times[k] - m.times[0];
    centre[3 * k][0] = m.positions[0] + m.velocities[0] * t + first_acceleration * t * t / 2;
    centre[3 * k + 1][0] = m.velocities[0] + first_acceleration * t;
    centre[3 * k + 2][0] = first_acceleration;
  }
  dense total = product(product(seen, prior), transposed(seen));
  for (std::size_t i = 0; i < 2 * n; ++i) {
    for (std::size_t j = 0; j < 2 * n; ++j) total[i][j] += errors[i][j];
  }
  const dense gain = product(product(prior, transposed(seen)), inverse(total));
  dense innovation = product(seen, centre);
  for (std::size_t i = 0; i < 2 * n; ++i) innovation[i][0] = measured[i][0] - innovation[i][0];
  conditioned result = {product(gain, innovation), product(product(gain, seen), prior)};
  for (std::size_t i = 0; i < 3 * n; ++i) {
    result.mean[i][0] += centre[i][0];
    for (std::size_t j = 0; j < 3 * n; ++j) result.covariance[i][j] = prior[i][j] - result.covariance[i][j];
  }
  return result;
}

smoothed_axis room_for(std::size_t count) {
  smoothed_axis axis;
  EXPECT_TRUE(make_room(axis, count));
  return axis;
}

const std::vector<double> uneven_densities = {4.0, 9.0, 30.0, 0.5, 2.0, 2.0};

TEST(axis_smoother_test, finds_the_flight_that_covariances_make_most_probable) {
  const measurement m = short_dive();
  smoothed_axis axis = room_for(m.times.size());
  ASSERT_TRUE(smooth_axis(m.view(), uneven_densities, axis));
  const conditioned expected = by_covariances(m, uneven_densities);
  for (std::size_t i = 0; i < 3 * m.times.size(); ++i) {
    EXPECT_NEAR(axis.states[i], static_cast<double>(expected.mean[i][0]), 2e-6) << i;
  }
}

TEST(axis_smoother_test, draws_with_the_covariance_of_the_flight) {
  const measurement m = short_dive();
  smoothed_axis axis = room_for(m.times.size());
  ASSERT_TRUE(smooth_axis(m.view(), uneven_densities, axis));
  const conditioned expected = by_covariances(m, uneven_densities);
  random_source source(3);
  constexpr int count = 20000;
  std::vector<double> deviations(3 * m.times.size());
  std::vector<double> squares(deviations.size());
  double product_sum = 0.0;
  for (int draw = 0; draw < count; ++draw) {
    draw_deviations(axis, source, deviations);
    for (std::size_t i = 0; i < deviations.size(); ++i) squares[i] += deviations[i] * deviations[i];
    product_sum += deviations[7] * deviations[10];
  }
  // Five standard errors.
  for (std::size_t i = 0; i < deviations.size(); ++i) {
    const auto variance = static_cast<double>(expected.covariance[i][i]);
    EXPECT_NEAR(squares[i] / count, variance, 0.05 * variance + 1e-6) << i;
  }
  const double scale = std::sqrt(static_cast<double>(expected.covariance[7][7] * expected.covariance[10][10]));
  EXPECT_NEAR(product_sum / count, static_cast<double>(expected.covariance[7][10]), 0.05 * scale);
}

TEST(axis_smoother_test, takes_a_flight_without_errors_as_it_is) {
  measurement m;
  for (int i = 0; i < 50; ++i) {
    const double t = 0.1 * i;
    m.times.push_back(t);
    m.positions.push_back(1000.0 + 3.0 * t + 2.0 * t * t);
    m.velocities.push_back(3.0 + 4.0 * t);
    m.position_sigmas.push_back(0.3);
    m.velocity_sigmas.push_back(0.2);
  }
  smoothed_axis axis = room_for(m.times.size());
  std::vector<double> densities(m.times.size());
  ASSERT_TRUE(smooth_axis_locally(m.view(), 0.2, densities, axis));
  for (std::size_t k = 0; k < m.times.size(); ++k) {
    EXPECT_NEAR(state_of(axis, k).position, m.positions[k], 1e-6) << k;
    EXPECT_NEAR(state_of(axis, k).velocity, m.velocities[k], 1e-6) << k;
    EXPECT_NEAR(state_of(axis, k).acceleration, 4.0, 1e-4) << k;
  }
}

// Level flight, then an onset of 30 m/s3 at 4 s: quiet before it, free to move behind it.
TEST(axis_smoother_test, is_stiff_in_level_flight_and_soft_in_a_turn) {
  measurement m;
  for (int i = 0; i < 80; ++i) {
    const double t = 0.1 * i;
    const double s = std::max(0.0, t - 4.0);
    m.times.push_back(t);
    m.positions.push_back(5.0 * s * s * s);
    m.velocities.push_back(15.0 * s * s);
    m.position_sigmas.push_back(0.3);
    m.velocity_sigmas.push_back(0.2);
  }
  smoothed_axis axis = room_for(m.times.size());
  std::vector<double> densities(m.times.size());
  ASSERT_TRUE(smooth_axis_locally(m.view(), 0.2, densities, axis));
  EXPECT_EQ(densities[10], 0.01);
  EXPECT_NEAR(densities[60], 0.2 * 30.0 * 30.0, 20.0);
}

// Steady flight, a sample a second: a step of more than a second may hide any jerk.
TEST(axis_smoother_test, knows_no_jerk_in_a_gap_of_more_than_a_second) {
  measurement m;
  for (const double t : {0.0, 1.0, std::nextafter(2.0, 3.0), 3.0, 4.0}) {
    m.times.push_back(t);
    m.positions.push_back(10.0 * t);
    m.velocities.push_back(10.0);
    m.position_sigmas.push_back(0.3);
    m.velocity_sigmas.push_back(0.2);
  }
  smoothed_axis axis = room_for(m.times.size());
  std::vector<double> densities(m.times.size());
  ASSERT_TRUE(smooth_axis_locally(m.view(), 0.2, densities, axis));
  EXPECT_EQ(densities[0], 0.01);
  EXPECT_EQ(densities[1], 225.0);
  EXPECT_EQ(densities[2], 0.01);
  EXPECT_EQ(densities[3], 0.01);
}

TEST(axis_smoother_test, refuses_what_has_no_solution) {
  measurement m = short_dive();
  m.velocity_sigmas[3] = std::nan("");
  smoothed_axis axis = room_for(m.times.size());
  EXPECT_FALSE(smooth_axis(m.view(), uneven_densities, axis));
}

}  // namespace
}  // namespace tarvel
