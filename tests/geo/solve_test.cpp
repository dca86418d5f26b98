#include "geo/solve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(solve_test, solves_small_systems) {
  // 2x + y = 5, x - y = 1
  augmented_system<2, 3> two = {{{2.0, 1.0, 5.0}, {1.0, -1.0, 1.0}}};
  solve_augmented(two);
  EXPECT_EQ(two[0][2], 2.0);
  EXPECT_EQ(two[1][2], 1.0);
  // A diagonal that starts with zeros: y = 3, z = 4, x = 2.
  augmented_system<3, 4> three = {{{0.0, 1.0, 0.0, 3.0}, {0.0, 0.0, 1.0, 4.0}, {1.0, 0.0, 0.0, 2.0}}};
  solve_augmented(three);
  EXPECT_EQ(three[0][3], 2.0);
  EXPECT_EQ(three[1][3], 3.0);
  EXPECT_EQ(three[2][3], 4.0);
  augmented_system<1, 2> one = {{{4.0, 2.0}}};
  solve_augmented(one);
  EXPECT_EQ(one[0][1], 0.5);
}

TEST(solve_test, pivots_on_the_largest_magnitude) {
  // Without a pivot the first row, scaled by 1e20, would swallow the second: x would be 0.
  augmented_system<2, 3> system = {{{1e-20, 1.0, 1.0}, {-1.0, 1.0, 0.0}}};
  solve_augmented(system);
  EXPECT_EQ(system[0][2], 1.0);
  EXPECT_EQ(system[1][2], 1.0);
}

TEST(solve_test, a_tie_keeps_the_earlier_row) {
  // Row 1 less row 0 is 0 y = 1, row 0 less row 1 is 0 y = -1: the sign of the infinity shows which row was the pivot.
  // The magnitudes are compared, so that signs make no difference.
  augmented_system<2, 3> system = {{{1.0, 2.0, 3.0}, {1.0, 2.0, 4.0}}};
  solve_augmented(system);
  EXPECT_EQ(system[1][2], infinity);
  EXPECT_EQ(system[0][2], -infinity);
  augmented_system<2, 3> negative = {{{-1.0, -2.0, -3.0}, {1.0, 2.0, 4.0}}};
  solve_augmented(negative);
  EXPECT_EQ(negative[1][2], infinity);
}

TEST(solve_test, a_singular_system_gives_no_finite_solution) {
  augmented_system<2, 3> parallel = {{{1.0, 2.0, 3.0}, {2.0, 4.0, 7.0}}};
  solve_augmented(parallel);
  EXPECT_FALSE(std::isfinite(parallel[0][2]));
  EXPECT_FALSE(std::isfinite(parallel[1][2]));
  augmented_system<2, 3> zeros = {};
  solve_augmented(zeros);
  EXPECT_TRUE(std::isnan(zeros[0][2]));
  EXPECT_TRUE(std::isnan(zeros[1][2]));
}

// All right-hand sides at once, against each alone.
template <std::size_t n, std::size_t columns>
void expect_as_if_alone(const augmented_system<n, columns> &given) {
  augmented_system<n, columns> together = given;
  solve_augmented(together);
  for (std::size_t side = n; side < columns; ++side) {
    double alone[4][5] = {};
    for (std::size_t r = 0; r < n; ++r) {
      for (std::size_t c = 0; c < n; ++c) alone[r][c] = given[r][c];
      alone[r][n] = given[r][side];
    }
    plain::solve(alone, static_cast<int>(n));
    for (std::size_t r = 0; r < n; ++r) {
      ASSERT_TRUE(plain::same(together[r][side], alone[r][n])) << "right-hand side " << side - n << ", row " << r;
    }
  }
}

template <std::size_t n, std::size_t columns, typename source>
void expect_as_if_alone_often(int times, source next) {
  for (int i = 0; i < times; ++i) {
    augmented_system<n, columns> system = {};
    for (auto &row : system) {
      for (double &element : row) element = next();
    }
    expect_as_if_alone(system);
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(solve_test, carries_many_right_hand_sides_as_if_each_were_alone) {
  std::mt19937_64 random(2);
  std::uniform_real_distribution<double> number(-10.0, 10.0);
  const auto next = [&] { return number(random); };
  expect_as_if_alone_often<4, 8>(5000, next);
  expect_as_if_alone_often<3, 6>(5000, next);
  expect_as_if_alone_often<2, 3>(5000, next);
}

TEST(solve_test, agrees_on_ties_zeros_and_singular_systems) {
  std::mt19937_64 random(3);
  // Many equal magnitudes, zeros of both signs and systems without a solution.
  const double numbers[] = {-2.0, -1.0, -1.0, -0.0, 0.0, 0.0, 1.0, 1.0, 2.0, 1.0 / 3.0, -1.0 / 3.0};
  std::uniform_int_distribution<std::size_t> index(0, std::size(numbers) - 1);
  const auto next = [&] { return numbers[index(random)]; };
  expect_as_if_alone_often<4, 8>(20000, next);
  expect_as_if_alone_often<3, 6>(20000, next);
  expect_as_if_alone_often<2, 3>(20000, next);
}

TEST(solve_test, agrees_on_numbers_that_are_not_finite) {
  std::mt19937_64 random(4);
  const double numbers[] = {-1.0, 0.0, 1.0, 3.0, 1e308, 5e-324, infinity, std::numeric_limits<double>::quiet_NaN()};
  std::uniform_int_distribution<std::size_t> index(0, std::size(numbers) - 1);
  const auto next = [&] { return numbers[index(random)]; };
  expect_as_if_alone_often<4, 8>(20000, next);
}

}  // namespace

}  // namespace tarvel
