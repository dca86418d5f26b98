#include "check/banded_cholesky.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "check/random_draws.h"

namespace tarvel {
namespace {

using dense_matrix = std::vector<std::vector<double>>;

std::size_t distance(std::size_t i, std::size_t j) { return i > j ? i - j : j - i; }

// Random entries inside the band; the diagonal outweighs them.
dense_matrix random_system(std::size_t size) {
  random_source source(size);
  dense_matrix a(size, std::vector<double>(size));
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (distance(i, j) <= half_width) a[i][j] = a[j][i] = source.normal();
    }
    a[i][i] = 40.0 + source.uniform();
  }
  return a;
}

std::vector<band_row> band_of(const dense_matrix &a) {
  std::vector<band_row> rows(a.size(), band_row{});
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      if (distance(i, j) <= half_width) band_entry(rows, i, j) = a[i][j];
    }
  }
  return rows;
}

// Gaussian elimination with row exchange.
std::vector<double> dense_solution(dense_matrix a, std::vector<double> b) {
  const std::size_t size = b.size();
  for (std::size_t i = 0; i < size; ++i) {
    std::size_t pivot = i;
    for (std::size_t k = i; k < size; ++k) {
      if (std::fabs(a[k][i]) > std::fabs(a[pivot][i])) pivot = k;
    }
    std::swap(a[i], a[pivot]);
    std::swap(b[i], b[pivot]);
    for (std::size_t k = i + 1; k < size; ++k) {
      const double part = a[k][i] / a[i][i];
      for (std::size_t j = i; j < size; ++j) a[k][j] -= part * a[i][j];
      b[k] -= part * b[i];
    }
  }
  for (std::size_t i = size; i-- > 0;) {
    for (std::size_t j = i + 1; j < size; ++j) b[i] -= a[i][j] * b[j];
    b[i] /= a[i][i];
  }
  return b;
}

TEST(banded_cholesky_test, solves_like_a_dense_elimination) {
  for (const std::size_t size : {1U, 2U, 5U, 6U, 7U, 40U}) {
    SCOPED_TRACE(size);
    const dense_matrix a = random_system(size);
    std::vector<double> b(size);
    for (std::size_t i = 0; i < size; ++i) b[i] = static_cast<double>(i) - 2.5;
    const std::vector<double> expected = dense_solution(a, b);
    std::vector<band_row> rows = band_of(a);
    ASSERT_TRUE(factor_band(rows));
    solve_lower(rows, b);
    solve_upper(rows, b);
    for (std::size_t i = 0; i < size; ++i) EXPECT_NEAR(b[i], expected[i], 1e-13) << i;
  }
}

TEST(banded_cholesky_test, refuses_a_matrix_that_is_not_positive_definite) {
  dense_matrix a = random_system(8);
  a[6][6] = -1.0;
  std::vector<band_row> rows = band_of(a);
  EXPECT_FALSE(factor_band(rows));
  a[6][6] = std::nan("");
  rows = band_of(a);
  EXPECT_FALSE(factor_band(rows));
  rows = band_of({{0.0}});
  EXPECT_FALSE(factor_band(rows));
  rows = band_of({{0.0625}});
  EXPECT_TRUE(factor_band(rows));
  EXPECT_EQ(rows[0][half_width], 0.25);
}

}  // namespace
}  // namespace tarvel
