// Gauss-Jordan elimination for the small systems of frames and lines.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tarvel {

template <std::size_t rows, std::size_t columns>
using augmented_system = std::array<std::array<double, columns>, rows>;

// Solves the n by n system in the first n columns for each right-hand side in the columns after them. The solution
// replaces its right-hand side; the first n columns are overwritten. Each right-hand side goes through the same
// operations in the same order as if it were solved alone. A singular system gives infinities or NaN.
template <std::size_t n, std::size_t columns>
void solve_augmented(augmented_system<n, columns> &a) {
  static_assert(columns > n);

  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t r = k + 1; r < n; ++r) {
      if (std::fabs(a[r][k]) > std::fabs(a[pivot][k])) pivot = r;
    }
    if (pivot != k) std::swap(a[k], a[pivot]);

    // The elements that elimination would set to 0 or 1 are not read again, so they are not stored.
    for (std::size_t r = k + 1; r < n; ++r) {
      const double factor = a[r][k] / a[k][k];
      for (std::size_t c = k + 1; c < columns; ++c) a[r][c] -= a[k][c] * factor;
    }
  }

  for (std::size_t i = n; i-- > 0;) {
    for (std::size_t c = n; c < columns; ++c) {
      a[i][c] = a[i][c] / a[i][i];
      for (std::size_t r = 0; r < i; ++r) a[r][c] -= a[i][c] * a[r][i];
    }
  }
}

}  // namespace tarvel
