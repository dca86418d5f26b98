#include "check/fixed_math.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tarvel {
namespace {

TEST(fixed_math_test, agrees_with_the_c_library) {
  for (double x = 1e-300; x < 1e300; x *= 1.37) {
    EXPECT_NEAR(fixed_log(x), std::log(x), 1e-14 * std::fabs(std::log(x)) + 1e-16) << x;
  }
  for (double x = -699.0; x < 50.0; x += 0.37) EXPECT_NEAR(fixed_exp(x), std::exp(x), 1e-13 * std::exp(x)) << x;
}

TEST(fixed_math_test, is_exact_where_the_result_is) {
  EXPECT_EQ(fixed_log(1.0), 0.0);
  EXPECT_EQ(fixed_exp(0.0), 1.0);
  EXPECT_EQ(fixed_exp(-1000.0), 0.0);
}

TEST(fixed_math_test, gives_0_for_powers_below_minus_700) {
  EXPECT_GT(fixed_exp(-700.0), 0.0);
  EXPECT_EQ(fixed_exp(std::nextafter(-700.0, -701.0)), 0.0);
}

}  // namespace
}  // namespace tarvel
