#include "check/check_window.h"

#include <gtest/gtest.h>

#include "check/checked_flight.h"
#include "check/figures.h"

namespace tarvel {
namespace {

check_window window_of(const swoop &run) {
  check_window window;
  error_slot error = nullptr;
  choose_window(run, window, &error);
  EXPECT_STREQ(error, nullptr);
  return window;
}

TEST(check_window_test, keeps_what_the_figures_depend_on) {
  for (const std::int32_t gate_type : {gate_type_course, gate_type_fixed_course, gate_type_implicit}) {
    SCOPED_TRACE(gate_type);
    const swoop run = analysed(flight_samples({{6.0, 0.0, 0.0, 0.0}, {60.0, 0.0, 0.0, 0.0}}), gate_type);
    const check_window window = window_of(run);
    EXPECT_FALSE(window.is_whole_track);
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

TEST(check_window_test, takes_the_whole_track_where_the_figures_need_it) {
  const swoop run = analysed(flight_that_goes_on(20.0), gate_type_implicit);
  const check_window window = window_of(run);
  EXPECT_TRUE(window.is_whole_track);
  EXPECT_TRUE(same_figures(run, window.run));
  ASSERT_EQ(window.run.track_len, run.track_len);
  EXPECT_EQ(window.noise_end, run.stop + 1);
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
