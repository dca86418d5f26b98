#include "check/banded_cholesky.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

namespace {

std::size_t first_column(std::size_t row) { return row < half_width ? 0 : row - half_width; }

}  // namespace

bool factor_band(std::span<band_row> rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = first_column(i); j <= i; ++j) {
      double sum = band_entry(rows, i, j);
      for (std::size_t k = first_column(i); k < j; ++k) sum -= band_entry(rows, i, k) * band_entry(rows, j, k);
      if (i != j) {
        band_entry(rows, i, j) = sum / band_entry(rows, j, j);
      } else {
        if (!(sum > 0.0)) return false;
        band_entry(rows, i, i) = std::sqrt(sum);
      }
    }
  }
  return true;
}

void solve_lower(std::span<const band_row> factor, std::span<double> b) {
  for (std::size_t i = 0; i < factor.size(); ++i) {
    double sum = b[i];
    for (std::size_t j = first_column(i); j < i; ++j) sum -= factor[i][half_width + j - i] * b[j];
    b[i] = sum / factor[i][half_width];
  }
}

void solve_upper(std::span<const band_row> factor, std::span<double> b) {
  for (std::size_t i = factor.size(); i > 0;) {
    --i;
    b[i] /= factor[i][half_width];
    for (std::size_t j = first_column(i); j < i; ++j) b[j] -= factor[i][half_width + j - i] * b[i];
  }
}

}  // namespace tarvel
