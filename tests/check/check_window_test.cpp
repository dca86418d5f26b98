#include "check/check_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>

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

// True when the sample of this index is kept.
bool keeps(const swoop &run, std::uint32_t index) {
  const check_window window = window_of(run);
  EXPECT_TRUE(window.is_enough);
  const std::span<const gps_point> kept = samples_of(window.run);
  return std::any_of(kept.begin(), kept.end(), [&](const gps_point &k) { return k.time == run.track[index].time; });
}

// Five samples a second: 2 s are ten of them. The clock may run by a millisecond more.
TEST(check_window_test, keeps_seconds_around_exit_and_pattern_entry) {
  const swoop run = analysed(flight_samples());
  const auto with_step_of_201_ms_before = [](std::uint32_t index) {
    std::vector<gps_point> samples = flight_samples();
    for (std::size_t k = index; k < samples.size(); ++k) ++samples[k].time;
    return analysed(samples);
  };
  struct edge_case {
    std::uint32_t outermost;
    std::uint32_t beyond;
    std::uint32_t late;  // the later one of the last step to the outermost
  };
  const std::uint32_t exit = run.plane_exit;
  const std::uint32_t entry = run.pattern_entry;
  for (const edge_case &c :
       {edge_case{exit - 10, exit - 11, exit - 9}, edge_case{exit + 15, exit + 16, exit + 15},
        edge_case{entry - 10, entry - 11, entry - 9}, edge_case{entry + 10, entry + 11, entry + 10}}) {
    SCOPED_TRACE(c.outermost);
    EXPECT_TRUE(keeps(run, c.outermost));
    EXPECT_FALSE(keeps(run, c.beyond));
    const swoop late = with_step_of_201_ms_before(c.late);
    ASSERT_EQ(late.plane_exit, exit);
    ASSERT_EQ(late.pattern_entry, entry);
    EXPECT_FALSE(keeps(late, c.outermost));
  }
}

// Just over 15 s before the turn and 3 s or 20 s behind the stop.
TEST(check_window_test, keeps_no_samples_beyond_its_times) {
  for (const auto &[gate_type, behind] : {std::pair(gate_type_course, 15U), std::pair(gate_type_implicit, 100U)}) {
    const swoop even = analysed(flight_samples({{6.0, 0.0, 0.0, 0.0}, {60.0, 0.0, 0.0, 0.0}}), gate_type);
    std::vector<gps_point> samples = flight_samples({{6.0, 0.0, 0.0, 0.0}, {60.0, 0.0, 0.0, 0.0}});
    for (std::size_t k = 0; k <= even.top_of_turn - 75; ++k) --samples[k].time;
    for (std::size_t k = even.stop + behind; k < samples.size(); ++k) ++samples[k].time;
    const swoop run = analysed(samples, gate_type);
    ASSERT_EQ(run.top_of_turn, even.top_of_turn);
    ASSERT_EQ(run.stop, even.stop);
    const check_window window = window_of(run);
    const std::span<const gps_point> kept = samples_of(window.run);
    EXPECT_EQ(kept[window.closely.first].time, run.track[run.top_of_turn - 74].time);
    EXPECT_EQ(kept[window.closely.end - 1].time, run.track[run.stop + behind - 1].time);
  }
}

TEST(check_window_test, keeps_nothing_around_the_first_sample_without_an_exit) {
  std::vector<gps_point> samples = flight_samples();
  samples.erase(samples.begin(), samples.begin() + 60);
  const swoop run = analysed(samples);
  ASSERT_EQ(run.plane_exit, 0U);
  EXPECT_TRUE(keeps(run, 0));
  EXPECT_FALSE(keeps(run, 1));
}

// Samples 5 to 7 are above the exit and more than two seconds before it.
TEST(check_window_test, keeps_the_first_of_the_highest_samples_with_usable_heights) {
  std::vector<gps_point> samples = flight_samples();
  for (const std::size_t k : {5U, 6U, 7U}) samples[k].pos_wgs84.z = samples[0].pos_wgs84.z + 10.0;
  samples[5].vacc = 20.0F;
  samples[6].vacc = std::nextafter(20.0F, 0.0F);
  const swoop run = analysed(samples);
  EXPECT_FALSE(keeps(run, 5));
  EXPECT_TRUE(keeps(run, 6));
  EXPECT_FALSE(keeps(run, 7));
  samples[0].pos_wgs84.z += 20.0;
  EXPECT_FALSE(keeps(analysed(samples), 6));
}

// In the descent, far from exit and pattern entry.
TEST(check_window_test, keeps_the_first_sample_nearer_to_the_gate_than_1000_m) {
  swoop run = analysed(flight_samples());
  constexpr std::uint32_t place = 250;
  EXPECT_GT(vec3_length(run.track[place].pos_local), 1000.0);
  run.track[place].pos_local = {0.0, 0.0, 1000.0};
  EXPECT_FALSE(keeps(run, place));
  run.track[place].pos_local = {0.0, 0.0, std::nextafter(1000.0, 0.0)};
  EXPECT_TRUE(keeps(run, place));
}

TEST(check_window_test, keeps_the_first_sample_below_200_ft_behind_the_exit) {
  swoop run = analysed(flight_samples());
  constexpr std::uint32_t place = 250;
  run.track[place].pos_local.z = from_feet(200.0);
  EXPECT_FALSE(keeps(run, place));
  run.track[place].pos_local.z = from_feet_below(200.0);
  EXPECT_TRUE(keeps(run, place));
}

// Five seconds behind the stop.
TEST(check_window_test, keeps_the_first_sample_farther_than_75_ft_from_the_stop) {
  swoop run = analysed(flight_samples());
  const std::uint32_t place = run.stop + 25;
  run.track[place].pos_local = run.track[run.stop].pos_local;
  run.track[place].pos_local.y += from_feet(74.99);
  EXPECT_FALSE(keeps(run, place));
  run.track[place].pos_local.y += from_feet(0.02);
  EXPECT_TRUE(keeps(run, place));
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
