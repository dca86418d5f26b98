#include <gtest/gtest.h>

#include "chart/run_charts.h"
#include "support/chart_text.h"
#include "support/hand_made_swoop.h"

namespace tarvel {
namespace {

TEST(accuracy_chart_test, shows_accuracies_and_satellites_over_the_seconds_from_the_gate) {
  const swoop run = hand_made_swoop();
  // The gate was crossed at 103.25 s; 0.25 m/s is 0.9 km/h.
  EXPECT_EQ(text_of(*build_gps_accuracy_chart({run, nullptr, true})),
            "GPS accuracy | time (s) | (meters, km/h, number of satellites) | steps 0, 0\n"
            "solid 1010e0 of run.csv \"horz_acc\": (-2.25, 1.5) (-1.25, 2.5) (-0.25, 3.5) (0.75, 4.5)\n"
            "solid 10b010 of run.csv \"vert_acc\": (-2.25, 10.25) (-1.25, 10.25) (-0.25, 10.25) (0.75, 10.25)\n"
            "solid ff0000 of run.csv \"speed_acc\": (-2.25, 0.9) (-1.25, 0.9) (-0.25, 0.9) (0.75, 0.9)\n"
            "solid 801080 of run.csv \"satellites\": (-2.25, 11) (-1.25, 12) (-0.25, 13) (0.75, 14)\n");
}

TEST(accuracy_chart_test, converts_to_feet_and_mph) {
  const swoop run = hand_made_swoop();
  // 3.2808399 x 1.5, 2.5, 3.5, 4.5 and 10.25; 2.23693629 / 4. The last digits of 11.48293965 and 0.5592340725 may
  // fall either way; they fall as the nearest double does.
  EXPECT_EQ(text_of(*build_gps_accuracy_chart({run, nullptr, false})),
            "GPS accuracy | time (s) | (feet, mph, number of satellites) | steps 0, 0\n"
            "solid 1010e0 of run.csv \"horz_acc\": (-2.25, 4.92125985) (-1.25, 8.20209975) (-0.25, 11.4829397) (0.75, "
            "14.7637796)\n"
            "solid 10b010 of run.csv \"vert_acc\": (-2.25, 33.628609) (-1.25, 33.628609) (-0.25, 33.628609) (0.75, "
            "33.628609)\n"
            "solid ff0000 of run.csv \"speed_acc\": (-2.25, 0.559234073) (-1.25, 0.559234073) (-0.25, 0.559234073) "
            "(0.75, 0.559234073)\n"
            "solid 801080 of run.csv \"satellites\": (-2.25, 11) (-1.25, 12) (-0.25, 13) (0.75, 14)\n");
}

double first_x(const owned_record<chart> &made) { return made->first_series->points[0].x; }

TEST(accuracy_chart_test, counts_from_the_top_of_the_turn_without_a_gate_even_when_drawn_from_the_exit) {
  swoop run = hand_made_swoop();
  run.entry_gate_time = 0;
  EXPECT_EQ(first_x(build_gps_accuracy_chart({run, nullptr, true, false})), 0.0);
  const owned_record<chart> from_exit = build_gps_accuracy_chart({run, nullptr, true, true});
  EXPECT_EQ(first_x(from_exit), -1.0);
  EXPECT_EQ(from_exit->first_series->count, 5U);
}

TEST(accuracy_chart_test, wraps_differences_of_hostile_times) {
  swoop run = hand_made_swoop();
  run.track[1].time = INT64_MAX;
  run.entry_gate_time = INT64_MIN;
  // One millisecond before it, around the end of 64 bits.
  EXPECT_EQ(first_x(build_gps_accuracy_chart({run, nullptr, true})), -0.001);
}

TEST(accuracy_chart_test, leaves_a_run_without_a_file_unnamed) {
  swoop run = hand_made_swoop();
  run.file.reset();
  EXPECT_FALSE(build_gps_accuracy_chart({run, nullptr, true})->first_series->name);
}

}  // namespace
}  // namespace tarvel
