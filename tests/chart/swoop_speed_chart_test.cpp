#include <gtest/gtest.h>

#include "chart/run_charts.h"
#include "support/chart_text.h"
#include "support/hand_made_swoop.h"

namespace tarvel {
namespace {

// Horizontal speeds are 5, sqrt(500), 50 and 10 m/s.

TEST(swoop_speed_chart_test, draws_the_swoop_with_gates_and_touchdown) {
  const swoop run = hand_made_swoop();
  EXPECT_EQ(text_of(*build_swoop_speed_chart({run, nullptr, true})),
            "speed during swoop | x-axis distance from gate (meters) | horz speed (km/h) | legend_right steps 20, 10\n"
            "solid ff0000 of run.csv: (-10, 180) (60, 36)\n"
            "filled circle 10b010 \"max horz speed (180.0 km/h @ -10 m)\": (-10, 180)\n"
            "filled circle 1010e0 \"entry gate (162.0 km/h @ 0 m)\": (0, 162)\n"
            "filled circle 801080 \"exit gate (72.0 km/h @ 50 m)(0.75 sec)\": (50, 72)\n"
            "filled circle ff0000 \"touchdown (54.0 km/h @ 56 m)\": (55.5, 54)\n");
}

TEST(swoop_speed_chart_test, converts_to_feet_and_mph) {
  const swoop run = hand_made_swoop();
  // 3.2808399 x -10, 60, 50, 55.5 and 2.23693629 x 50, 10, 45, 20, 15; 111.8468145 and 33.55404435 fall as the
  // nearest doubles do.
  EXPECT_EQ(text_of(*build_swoop_speed_chart({run, nullptr, false})),
            "speed during swoop | x-axis distance from gate (feet) | horz speed (mph) | legend_right steps 50, 10\n"
            "solid ff0000 of run.csv: (-32.808399, 111.846815) (196.850394, 22.3693629)\n"
            "filled circle 10b010 \"max horz speed (111.8 mph @ -33 ft)\": (-32.808399, 111.846815)\n"
            "filled circle 1010e0 \"entry gate (100.7 mph @ 0 ft)\": (0, 100.662133)\n"
            "filled circle 801080 \"exit gate (44.7 mph @ 164 ft)(0.75 sec)\": (164.041995, 44.7387258)\n"
            "filled circle ff0000 \"touchdown (33.6 mph @ 182 ft)\": (182.086614, 33.5540443)\n");
}

TEST(swoop_speed_chart_test, shows_no_gates_where_none_was_crossed) {
  swoop run = hand_made_swoop();
  run.entry_gate_speed = run.exit_gate_speed = 0.0;
  EXPECT_EQ(series_text(*build_swoop_speed_chart({run, nullptr, true})),
            "solid ff0000 of run.csv: (-10, 180) (60, 36)\n"
            "filled circle 10b010 \"max horz speed (180.0 km/h @ -10 m)\": (-10, 180)\n"
            "filled circle ff0000 \"touchdown (54.0 km/h @ 56 m)\": (55.5, 54)\n");
}

std::size_t count_series(const chart &source) {
  std::size_t count = 0;
  for (const series *curve = source.first_series.get(); curve != nullptr; curve = curve->next.get()) ++count;
  return count;
}

TEST(swoop_speed_chart_test, shows_each_gate_for_itself_and_takes_no_number_for_a_speed) {
  swoop run = hand_made_swoop();
  run.entry_gate_speed = 0.0;
  EXPECT_EQ(count_series(*build_swoop_speed_chart({run, nullptr, true})), 4U);
  run.entry_gate_speed = not_a_number;
  EXPECT_EQ(count_series(*build_swoop_speed_chart({run, nullptr, true})), 5U);
  run.exit_gate_speed = 0.0;
  EXPECT_EQ(count_series(*build_swoop_speed_chart({run, nullptr, true})), 4U);
  run.exit_gate_speed = not_a_number;
  EXPECT_EQ(count_series(*build_swoop_speed_chart({run, nullptr, true})), 5U);
}

TEST(swoop_speed_chart_test, counts_an_exit_before_the_entry_around_the_end_of_64_bits) {
  swoop run = hand_made_swoop();
  run.exit_gate_time = run.entry_gate_time - 1000;
  const owned_record<chart> made = build_swoop_speed_chart({run, nullptr, true});
  const series *exit_gate = made->first_series->next->next->next.get();
  // 2^64 - 1000 ms, as a double 2^64; a thousandth of it is 18446744073709551.616, where doubles are 4 apart.
  EXPECT_STREQ(exit_gate->label.get(), "exit gate (72.0 km/h @ 50 m)(18446744073709552.00 sec)");
}

struct start_case {
  const char *name;
  std::uint32_t entry_gate;
  std::uint32_t max_horz_speed;
  double first_x;
};

const start_case start_cases[] = {
    {"the gate comes first", 2, 3, -100.0},
    {"the greatest speed comes first", 3, 2, -100.0},
    {"both at once", 3, 3, -10.0},
    {"no gate", 0, 3, -10.0},
};

TEST(swoop_speed_chart_test, starts_at_the_gate_or_the_greatest_speed_whichever_comes_first) {
  for (const start_case &c : start_cases) {
    SCOPED_TRACE(c.name);
    swoop run = hand_made_swoop();
    run.entry_gate = c.entry_gate;
    run.max_horz_speed = c.max_horz_speed;
    for (const bool from_exit : {false, true}) {
      EXPECT_EQ(build_swoop_speed_chart({run, nullptr, true, from_exit})->first_series->points[0].x, c.first_x);
    }
  }
}

}  // namespace
}  // namespace tarvel
