#include "check/interval.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace tarvel {
namespace {

TEST(interval_test, lies_on_straight_lines_between_draws) {
  const std::vector<double> values = {1.0, 2.0, 4.0};
  EXPECT_EQ(percentile(values, 0.0), 1.0);
  EXPECT_EQ(percentile(values, 0.25), 1.5);
  EXPECT_EQ(percentile(values, 0.75), 3.0);
  EXPECT_EQ(percentile(values, 1.0), 4.0);
  EXPECT_EQ(percentile(std::vector<double>{7.0}, 0.975), 7.0);
}

// 0 to 400, in falling order: median 200, 2.5 % at 10 and 97.5 % at 390.
TEST(interval_test, widens_either_side_of_the_median) {
  std::vector<double> draws(401);
  std::iota(draws.rbegin(), draws.rend(), 0.0);
  const interval plain = interval_of(draws, 1.0);
  EXPECT_NEAR(plain.low, 10.0, 1e-9);
  EXPECT_NEAR(plain.high, 390.0, 1e-9);
  const interval wide = interval_of(draws, 1.2);
  EXPECT_NEAR(wide.low, 200.0 - 1.2 * 190.0, 1e-9);
  EXPECT_NEAR(wide.high, 200.0 + 1.2 * 190.0, 1e-9);
}

TEST(interval_test, contains_the_figure_itself) {
  EXPECT_EQ(containing({1.0, 2.0}, 3.0).high, 3.0);
  EXPECT_EQ(containing({1.0, 2.0}, 0.5).low, 0.5);
  EXPECT_EQ(containing({1.0, 2.0}, 1.5).low, 1.0);
  EXPECT_EQ(containing({1.0, 2.0}, 1.5).high, 2.0);
}

TEST(interval_test, widens_by_less_than_a_half) {
  for (std::size_t i = 0; i < figure_count; ++i) {
    EXPECT_GE(widening_of(static_cast<figure>(i)), 0.85) << i;
    EXPECT_LE(widening_of(static_cast<figure>(i)), 1.3) << i;
  }
  EXPECT_EQ(widening_of(figure::max_vertical_speed), 1.2);
  EXPECT_EQ(widening_of(figure::touchdown_speed), 1.15);
  EXPECT_EQ(widening_of(figure::max_horizontal_speed), 1.1);
  EXPECT_EQ(widening_of(figure::degrees), 1.05);
  EXPECT_EQ(widening_of(figure::max_total_height), 1.0);
  EXPECT_EQ(widening_of(figure::turn_height), 0.95);
  EXPECT_EQ(widening_of(figure::max_total_offset), 0.9);
  EXPECT_EQ(widening_of(figure::rollout_end_offset), 0.85);
}

}  // namespace
}  // namespace tarvel
