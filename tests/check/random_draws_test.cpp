#include "check/random_draws.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tarvel {
namespace {

struct quantile_case {
  double probability;
  double expected;  // 20 digits, mpmath
};

const quantile_case quantile_cases[] = {
    {1e-300, -37.047096299361199237}, {1e-20, -9.2623400897984075737},
    {1e-12, -7.0344838253011319298},  {1e-6, -4.7534243088228989482},
    {0.074, -1.4466320671589784837},  {0.076, -1.4325027208258116056},
    {0.3, -0.52440051270804078404},   {0.5, 0.0},
    {0.975, 1.9599639845400542355},
};

TEST(random_draws_test, knows_the_quantiles_of_the_normal_distribution) {
  for (const quantile_case &c : quantile_cases) {
    EXPECT_NEAR(normal_quantile(c.probability), c.expected, 2e-15 * std::fabs(c.expected)) << c.probability;
  }
}

// Where the rounding of the evaluation does not show: a change of the fifteenth digit of almost any coefficient changes
// one of these.
const quantile_case rounded_quantile_cases[] = {
    {0.468, -0.080298312892054895103},  {2e-68, -17.441421501548415857},    {1e-9, -5.9978070150076868614},
    {3e-235, -32.72921467359508581},    {0.006, -2.5121443279304616286},    {0.403, -0.24558952342208083422},
    {0.077, -1.4255440370804515098},    {0.382, -0.30023225938072184374},   {0.416, -0.21213719831752423234},
    {1e-12, -7.0344838253011319326},    {4.92e-9, -5.7334639298553570613},  {0.4829, -0.042876477171799341309},
    {8.12e-9, -5.6479207551207238075},  {0.4723, -0.069489487734280236593}, {1.4e-9, -5.9429136206801820913},
    {1.1e-282, -35.909134820525816435},
};

TEST(random_draws_test, rounds_quantiles_to_the_nearest_number) {
  for (const quantile_case &c : rounded_quantile_cases) EXPECT_EQ(normal_quantile(c.probability), c.expected);
}

// The standard states the 10,000th number of the engine with its own seed: 9981545732273789042.
TEST(random_draws_test, takes_one_number_of_the_engine_a_variate) {
  random_source source(5489);
  for (int i = 1; i < 10000; ++i) static_cast<void>(source.normal());
  EXPECT_EQ(source.uniform(), (static_cast<double>(9981545732273789042U >> 11U) + 0.5) * 0x1p-53);
}

TEST(random_draws_test, draws_the_same_from_the_same_seed_only) {
  random_source first(1);
  random_source again(1);
  random_source other(2);
  const double drawn = first.normal();
  EXPECT_EQ(again.normal(), drawn);
  EXPECT_NE(other.normal(), drawn);
}

TEST(random_draws_test, has_the_moments_of_its_distributions) {
  random_source source(7);
  constexpr int count = 100000;
  double sum = 0.0;
  double squares = 0.0;
  double fourths = 0.0;
  double chi = 0.0;
  double chi_squares = 0.0;
  for (int i = 0; i < count; ++i) {
    const double x = source.normal();
    sum += x;
    squares += x * x;
    fourths += x * x * x * x;
    const double y = source.chi_square(4);
    chi += y;
    chi_squares += y * y;
  }
  // Five standard errors each.
  EXPECT_NEAR(sum / count, 0.0, 0.016);
  EXPECT_NEAR(squares / count, 1.0, 0.023);
  EXPECT_NEAR(fourths / count, 3.0, 0.16);
  EXPECT_NEAR(chi / count, 4.0, 0.045);
  EXPECT_NEAR(chi_squares / count - 16.0, 8.0, 0.6);
}

}  // namespace
}  // namespace tarvel
