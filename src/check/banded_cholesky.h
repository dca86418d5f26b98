// Symmetric positive definite systems whose entries lie within five of the diagonal: chains of three unknowns a sample,
// each sample coupled to its neighbours. The operations have a fixed order, so that every build gets the same digits.
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace tarvel {

constexpr std::size_t half_width = 5;

// Row i of the lower triangle: the columns i - 5 to i, the diagonal last. Columns before 0 hold 0.
using band_row = std::array<double, half_width + 1>;

[[nodiscard]] inline double &band_entry(std::span<band_row> rows, std::size_t row, std::size_t column) {
  return rows[row][half_width + column - row];
}

// Replaces A by its factor L, A = L L'. False when A is not positive definite; the rows are then undefined.
[[nodiscard]] bool factor_band(std::span<band_row> rows);

// Replaces b by the solution of L x = b.
void solve_lower(std::span<const band_row> factor, std::span<double> b);

// Replaces b by the solution of L' x = b. With standard normal variates for b, x has the covariance inverse(A).
void solve_upper(std::span<const band_row> factor, std::span<double> b);

}  // namespace tarvel
