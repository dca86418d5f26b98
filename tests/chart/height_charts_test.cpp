#include <gtest/gtest.h>

#include "chart/run_charts.h"
#include "support/chart_text.h"
#include "support/hand_made_swoop.h"

namespace tarvel {
namespace {

// Heights 300, 100 and 10 m are 984.25197, 328.08399 and 32.808399 ft.

TEST(height_charts_test, draws_the_dive_angle) {
  const swoop run = hand_made_swoop();
  EXPECT_EQ(text_of(*build_dive_angle_chart({run, nullptr, true})),
            "dive angle | height (meters) | dive angle (deg) | reverse_x steps 50, 10\n"
            "solid ff0000 of run.csv: (300, 10) (100, 20) (10, 30)\n");
  EXPECT_EQ(text_of(*build_dive_angle_chart({run, nullptr, false})),
            "dive angle | height (feet) | dive angle (deg) | reverse_x steps 200, 10\n"
            "solid ff0000 of run.csv: (984.25197, 10) (328.08399, 20) (32.808399, 30)\n");
}

TEST(height_charts_test, draws_the_turn_rate) {
  const swoop run = hand_made_swoop();
  EXPECT_EQ(text_of(*build_turn_rate_chart({run, nullptr, true})),
            "turn rate | height (meters) | turn rate (deg/sec) | reverse_x steps 50, 0\n"
            "solid ff0000 of run.csv: (300, -3) (100, -6) (10, -9)\n");
  EXPECT_EQ(text_of(*build_turn_rate_chart({run, nullptr, false})),
            "turn rate | height (feet) | turn rate (deg/sec) | reverse_x steps 200, 0\n"
            "solid ff0000 of run.csv: (984.25197, -3) (328.08399, -6) (32.808399, -9)\n");
}

TEST(height_charts_test, draws_the_speeds_of_the_dive) {
  const swoop run = hand_made_swoop();
  // Lengths 13, sqrt(1400) = 37.4165739 and sqrt(2525) = 50.2493781 m/s, in km/h.
  EXPECT_EQ(text_of(*build_dive_speed_chart({run, nullptr, true})),
            "speed during dive | height (meters) | speed (km/h) | reverse_x steps 50, 20\n"
            "solid 1010e0 of run.csv \"x-axis\": (300, 10.8) (100, 36) (10, 108)\n"
            "solid 10b010 of run.csv \"y-axis\": (300, 14.4) (100, -72) (10, 144)\n"
            "solid ff0000 of run.csv \"z-axis (max 108.0 km/h @ 100 m)\": (300, 43.2) (100, 108) (10, 18)\n"
            "solid 801080 of run.csv \"total (max 180.9 km/h @ 10 m)\": (300, 46.8) (100, 134.699666) (10, "
            "180.897761)\n");
}

TEST(height_charts_test, draws_the_speeds_of_the_dive_in_mph) {
  const swoop run = hand_made_swoop();
  // 2.23693629 x 3, 10, 30; 4, -20, 40; 12, 30, 5; 13, 37.4165739, 50.2493781.
  EXPECT_EQ(text_of(*build_dive_speed_chart({run, nullptr, false})),
            "speed during dive | height (feet) | speed (mph) | reverse_x steps 200, 10\n"
            "solid 1010e0 of run.csv \"x-axis\": (984.25197, 6.71080887) (328.08399, 22.3693629) (32.808399, "
            "67.1080887)\n"
            "solid 10b010 of run.csv \"y-axis\": (984.25197, 8.94774516) (328.08399, -44.7387258) (32.808399, "
            "89.4774516)\n"
            "solid ff0000 of run.csv \"z-axis (max 67.1 mph @ 328 ft)\": (984.25197, 26.8432355) (328.08399, "
            "67.1080887) (32.808399, 11.1846814)\n"
            "solid 801080 of run.csv \"total (max 112.4 mph @ 33 ft)\": (984.25197, 29.0801718) (328.08399, "
            "83.6984919) (32.808399, 112.404657)\n");
}

// Recorded headings 350, 10, 20 after turns of 20 and 10 degrees.
swoop turning_swoop() {
  swoop run = hand_made_swoop();
  run.track[1].heading = 350.0;
  run.track[1].turn_angle = 1000.0;  // since the sample before the first: not drawn
  run.track[2].heading = 10.0;
  run.track[2].turn_angle = 20.0;
  run.track[3].heading = 20.0;
  run.track[3].turn_angle = 10.0;
  return run;
}

TEST(height_charts_test, draws_a_heading_that_climbs_past_north) {
  const swoop run = turning_swoop();
  EXPECT_EQ(text_of(*build_heading_chart({run, nullptr, true})),
            "heading | height (meters) | heading (deg) | reverse_x steps 50, 45\n"
            "solid ff0000 of run.csv: (300, 350) (100, 370) (10, 380)\n");
  EXPECT_EQ(text_of(*build_heading_chart({run, nullptr, false})),
            "heading | height (feet) | heading (deg) | reverse_x steps 200, 45\n"
            "solid ff0000 of run.csv: (984.25197, 350) (328.08399, 370) (32.808399, 380)\n");
}

TEST(height_charts_test, dashes_the_heading_where_it_was_not_recorded) {
  swoop run = turning_swoop();
  run.track[2].heading = 11.0;
  EXPECT_EQ(series_text(*build_heading_chart({run, nullptr, true})),
            "solid ff0000 of run.csv: (300, 350)\n"
            "thin dashed ff0000 of run.csv: (300, 350) (100, 370) (10, 380)\n"
            "solid ff0000 of run.csv: (10, 380)\n");
}

TEST(height_charts_test, starts_at_the_exit_with_automatic_height_ticks_when_asked) {
  swoop run = turning_swoop();
  using builder = owned_record<chart> (*)(const chart_context &);
  struct exit_case {
    const char *name;
    builder build;
    double y_step;
  };
  const exit_case cases[] = {{"dive angle", build_dive_angle_chart, 10.0},
                             {"dive speed", build_dive_speed_chart, 20.0},
                             {"heading", build_heading_chart, 45.0},
                             {"turn rate", build_turn_rate_chart, 0.0}};
  for (const exit_case &c : cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> made = c.build({run, nullptr, true, true});
    EXPECT_EQ(made->x_step, 0.0);
    EXPECT_EQ(made->y_step, c.y_step);
    EXPECT_EQ(made->first_series->points[0].x, 1000.0);
    const owned_record<chart> from_turn = c.build({run, nullptr, true, false});
    EXPECT_EQ(from_turn->first_series->points[0].x, 300.0);
  }
}

}  // namespace
}  // namespace tarvel
