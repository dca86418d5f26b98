#include "check/check_window.h"

#include <gtest/gtest.h>

#include "check/figures.h"
#include "support/checked_flight.h"

namespace tarvel {
namespace {

check_window window_of(const swoop &run, std::uint32_t most = 100000) {
  check_window window;
  error_slot error = "left over";
  choose_window(run, most, window, &error);
  EXPECT_STREQ(error, nullptr);
  return window;
}

TEST(check_window_test, keeps_what_the_figures_depend_on) {
  for (const std::int32_t gate_type : {gate_type_course, gate_type_fixed_course, gate_type_implicit}) {
    SCOPED_TRACE(gate_type);
    const swoop run = analysed(flight_samples({{6.0, 0.0, 0.0, 0.0}, {60.0, 0.0, 0.0, 0.0}}), gate_type);
    const check_window window = window_of(run);
    EXPECT_TRUE(window.is_enough);
    EXPECT_TRUE(same_figures(run, window.run));
    EXPECT_LT(window.run.track_len, run.track_len / 2);
    const std::span<const gps_point> kept = samples_of(window.run);
    EXPECT_EQ(kept[window.closely.first].time, run.track[run.top_of_turn].time - 15000);
    const std::int64_t behind = gate_type == gate_type_implicit ? 20000 : 3000;
    EXPECT_EQ(kept[window.closely.end - 1].time, run.track[run.stop].time + behind);
    EXPECT_EQ(kept[window.noise_end - 1].time, run.track[run.stop].time);
    for (std::uint32_t i = window.closely.first + 1; i < window.closely.end; ++i) {
      EXPECT_EQ(kept[i].time - kept[i - 1].time, 200);
    }
  }
}

// The frame is made from a landing 40 s behind the stop.
TEST(check_window_test, keeps_a_landing_far_behind_the_stop) {
  const swoop run = analysed(flight_that_goes_on(300.0), gate_type_implicit);
  const check_window window = window_of(run);
  EXPECT_TRUE(window.is_enough);
  EXPECT_TRUE(same_figures(run, window.run));
  EXPECT_LT(window.run.track_len, run.track_len / 3);
  EXPECT_EQ(window.run.track[window.noise_end - 1].time, run.track[run.stop].time);
  EXPECT_EQ(window.run.track[window.closely.first].time, run.track[run.top_of_turn].time - 15000);
}

// The exit is that of the first, the dive that of the second, which is faster, an hour later.
TEST(check_window_test, keeps_the_exit_of_another_run) {
  std::vector<gps_point> samples = flight_samples();
  const std::size_t first_run = samples.size();
  for (gps_point sample : flight_samples()) {
    sample.time += 3600000;
    sample.vel_ltp.z *= 1.1;
    samples.push_back(sample);
  }
  for (const std::int32_t gate_type : {gate_type_course, gate_type_implicit}) {
    SCOPED_TRACE(gate_type);
    const swoop run = analysed(samples, gate_type);
    ASSERT_LT(run.plane_exit, first_run);
    ASSERT_GT(run.top_of_turn, first_run);
    const check_window window = window_of(run);
    EXPECT_TRUE(window.is_enough);
    EXPECT_TRUE(same_figures(run, window.run));
    EXPECT_LT(window.run.track_len, run.track_len / 2);
  }
}

// A second and a half of fall is seen at the next sample, 3.6 s after the exit.
TEST(check_window_test, widens_until_the_figures_are_the_same) {
  std::vector<gps_point> samples = flight_samples();
  const std::uint32_t exit = analysed(samples).plane_exit;
  ASSERT_NE(exit, 0U);
  const auto behind_exit = samples.begin() + exit + 1;
  samples.erase(behind_exit, behind_exit + 17);
  const swoop run = analysed(samples);
  ASSERT_EQ(run.plane_exit, exit);
  const check_window window = window_of(run);
  EXPECT_TRUE(window.is_enough);
  EXPECT_TRUE(same_figures(run, window.run));
  EXPECT_EQ(window.run.track[window.closely.first].time, run.track[run.top_of_turn].time - 30000);
}

TEST(check_window_test, is_too_large_with_more_samples_than_asked_for) {
  const swoop run = analysed(flight_samples());
  const std::uint32_t count = window_of(run).run.track_len;
  EXPECT_TRUE(window_of(run, count).is_enough);
  const check_window window = window_of(run, count - 1);
  EXPECT_FALSE(window.is_enough);
  EXPECT_EQ(window.run.track_len, count);
}

TEST(check_window_test, analyses_the_same_frame_again_over_other_samples) {
  const swoop run = analysed(flight_samples());
  check_window window = window_of(run);
  for (gps_point &sample : std::span(window.run.track.get(), window.run.track_len)) sample.vel_ltp.x *= 1.01;
  error_slot error = nullptr;
  analyze_like(run, window.run, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_NE(window.run.entry_gate_speed, run.entry_gate_speed);
  EXPECT_NEAR(window.run.entry_gate_speed, run.entry_gate_speed, 0.3);
}

}  // namespace
}  // namespace tarvel
