#include "check/turn_start.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {
namespace {

// Samples every 0.2 s that descend like this, m/s; the start of the turn was found at the last but one.
swoop run_that_descends(const std::vector<double> &descents) {
  std::vector<gps_point> samples(descents.size());
  for (std::size_t k = 0; k < samples.size(); ++k) {
    samples[k].time = static_cast<std::int64_t>(200 * k);
    samples[k].vel_local.z = -descents[k];
    samples[k].pos_local = {-10.0 * static_cast<double>(k), 2.0 * static_cast<double>(k),
                            300.0 - static_cast<double>(k)};
    samples[k].turn_angle = 3.0;
  }
  swoop run = run_of(samples);
  run.top_of_turn = static_cast<std::uint32_t>(samples.size()) - 2;
  run.rollout = run.top_of_turn + 1;
  run.bottom_of_turn = run.rollout;
  return run;
}

struct start_case {
  const char *name;
  std::vector<double> descents;
  std::uint32_t expected;
};

const start_case start_cases[] = {
    {"nothing before descends less", {6.4, 6.3, 6.2, 6.0, 7.0}, 3},
    {"hardly more before", {6.2, 6.05, 6.0, 7.0}, 2},
    {"a jolt of 0.1 m/s", {6.2, 5.5, 5.8, 6.1, 6.0, 7.0}, 1},
    {"a jolt that is too great", {6.2, 5.5, 5.8, 6.3, 6.0, 7.0}, 4},
    {"two small jolts", {5.9, 5.4, 5.5, 5.45, 5.8, 5.7, 7.0}, 1},
    {"the first sample", {5.0, 5.5, 6.0, 7.0}, 0},
};

TEST(turn_start_test, lies_before_small_jolts) {
  for (const start_case &c : start_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(start_before_jolts(run_that_descends(c.descents), 0.2), c.expected);
  }
}

// 6 m/s, and a sample that descends faster by the jolt or by more.
TEST(turn_start_test, lies_before_a_jolt_of_just_that_size) {
  EXPECT_EQ(start_before_jolts(run_that_descends({5.0, 6.25, 6.0, 7.0}), 0.25), 0U);
  EXPECT_EQ(start_before_jolts(run_that_descends({5.0, std::nextafter(6.25, 7.0), 6.0, 7.0}), 0.25), 2U);
}

TEST(turn_start_test, is_not_sought_for_longer_than_five_seconds) {
  std::vector<double> descents(60, 0.0);
  for (std::size_t k = 0; k < descents.size(); ++k) descents[k] = 0.01 * static_cast<double>(k);
  // 25 samples of 0.2 s before the one at 58.
  EXPECT_EQ(start_before_jolts(run_that_descends(descents), 0.2), 33U);
}

TEST(turn_start_test, gives_the_figures_of_another_start) {
  const swoop run = run_that_descends({6.0, 6.0, 6.0, 6.0, 6.0});
  const turn_figures figures = figures_of_turn_from(run, 1);
  const double expected[] = {299.0, 10.0, -2.0, 9.0, 0.6};  // height, back, offset, degrees, time
  for (std::size_t i = 0; i < figures.size(); ++i) EXPECT_NEAR(figures[i].value, expected[i], 1e-12) << i;
}

TEST(turn_start_test, counts_turns_of_less_than_360_degrees_a_sample) {
  swoop run = run_that_descends({6.0, 6.0, 6.0, 6.0, 6.0});
  const auto degrees_with = [&run](double turn_angle) {
    run.track[2].turn_angle = turn_angle;
    return figures_of_turn_from(run, 1)[3].value;
  };
  EXPECT_EQ(degrees_with(359.9375), 365.9375);
  EXPECT_EQ(degrees_with(360.0), 6.0);
}

}  // namespace
}  // namespace tarvel
