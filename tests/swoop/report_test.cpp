#include "swoop/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/hand_made_run.h"
#include "support/refusals.h"

namespace tarvel {

namespace {

// Samples 1 to 7 are the exit, the top of the turn, and so on, in the order of the report's lines.
swoop scored_run() {
  std::vector<gps_point> samples(8);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = 100000 + static_cast<std::int64_t>(i) * 1000;
  samples[1].pos_local = {-1000.0, 300.0, 1219.2};
  samples[2].pos_local = {-120.5, -35.25, 200.0};
  samples[3].pos_local = {-60.0, 20.0, 80.0};
  samples[3].vel_local = {3.0, 4.0, -30.0};
  samples[4].pos_local = {-50.0, 10.0, 60.0};
  samples[4].vel_local = {6.0, 8.0, -24.0};
  samples[5].pos_local = {-10.0, -5.0, 4.0};
  samples[5].vel_local = {2.0, 3.0, -6.0};
  samples[6].pos_local = {12.0, 1.0, 0.75};
  samples[6].vel_local = {-18.0, 24.0, -1.0};
  samples[7].pos_local = {100.0, 2.0, 0.5};
  swoop run = run_of(samples);
  run.plane_exit = 1;
  run.top_of_turn = 2;
  run.max_vert_speed = 3;
  run.rollout = 4;
  run.max_total_speed = 5;
  run.max_horz_speed = 6;
  run.stop = 7;
  run.bottom_time = 106250;
  run.bottom_xpos = -5.0;
  run.bottom_ypos = 3.0;
  run.bottom_zpos = 1.0;
  run.turn_degrees = 271.5;
  run.touchdown_time = 110000;
  run.touchdown_distance = 90.0;
  run.touchdown_speed = 4.0;
  run.entry_gate_time = 105500;
  run.entry_gate_speed = 30.0;
  run.exit_gate_time = 108750;
  run.exit_gate_speed = 20.0;
  return run;
}

std::string report_of(const swoop &run, bool metric = true) {
  error_slot error = "left over";
  const owned_text text = format_swoop_report(run, metric, &error);
  EXPECT_EQ(error, nullptr);
  return text ? text.get() : "(null)";
}

// By hand: -vel.z * 3.6; 7 m/s (2, 3, 6) and 30 m/s (18, 24) in all; 200, 120.5 and 35.25 m to even.
TEST(report_test, is_metric_on_request) {
  EXPECT_EQ(report_of(scored_run()),
            "exited airplane:      1219 m AGL\n"
            "initiated turn:        200 m AGL,  120 m back,   35 m offset\n"
            "max vertical speed:     80 m AGL,   60 m back,  -20 m offset (108.0 km/h)\n"
            "started rollout:        60 m AGL,   50 m back,  -10 m offset (86.4 km/h)\n"
            "finished rollout:        1 m AGL,    5 m back,   -3 m offset\n"
            "max total speed:         4 m AGL,   10 m back,    5 m offset (25.2 km/h)\n"
            "max horizontal speed:    1 m AGL,  -12 m back,   -1 m offset (108.0 km/h)\n"
            "\n"
            "degrees of rotation:       272 deg (right-hand)\n"
            "time to execute turn:     2.00 sec\n"
            "time during rollout:      2.25 sec\n"
            "time aloft during swoop:  3.75 sec\n"
            "\n"
            "entry gate speed:      108.0 km/h\n"
            "distance to stop:      100 m\n"
            "touchdown estimate:    90 m (14.4 km/h)\n"
            "speed carve time:      3.25 sec (72.0 km/h)\n");
}

// By hand: lengths * 3.2808399, speeds * 2.23693629. 1219.2 m = 4000.0 ft; 120.5 m = 395.3; 35.25 m = 115.6;
// 30 m/s = 67.108; 24 = 53.686; 7 = 15.659; 4 = 8.948; 20 = 44.739.
TEST(report_test, is_in_feet_and_mph_otherwise) {
  EXPECT_EQ(report_of(scored_run(), false),
            "exited airplane:      4000 ft AGL\n"
            "initiated turn:        656 ft AGL,  395 ft back,  116 ft offset\n"
            "max vertical speed:    262 ft AGL,  197 ft back,  -66 ft offset (67.1 mph)\n"
            "started rollout:       197 ft AGL,  164 ft back,  -33 ft offset (53.7 mph)\n"
            "finished rollout:        3 ft AGL,   16 ft back,  -10 ft offset\n"
            "max total speed:        13 ft AGL,   33 ft back,   16 ft offset (15.7 mph)\n"
            "max horizontal speed:    2 ft AGL,  -39 ft back,   -3 ft offset (67.1 mph)\n"
            "\n"
            "degrees of rotation:       272 deg (right-hand)\n"
            "time to execute turn:     2.00 sec\n"
            "time during rollout:      2.25 sec\n"
            "time aloft during swoop:  3.75 sec\n"
            "\n"
            "entry gate speed:      67.1 mph\n"
            "distance to stop:      328 ft\n"
            "touchdown estimate:    295 ft (8.9 mph)\n"
            "speed carve time:      3.25 sec (44.7 mph)\n");
}

// An unanalysed run of one sample at the origin: every coordinate is +0, and its negation shows its sign, but for the
// end of the rollout.
TEST(report_test, shows_hyphens_for_what_was_not_found) {
  EXPECT_EQ(report_of(run_of({gps_point()}), false),
            "exited airplane:     ----- ft AGL\n"
            "initiated turn:          0 ft AGL,   -0 ft back,   -0 ft offset\n"
            "max vertical speed:      0 ft AGL,   -0 ft back,   -0 ft offset (-0.0 mph)\n"
            "started rollout:         0 ft AGL,   -0 ft back,   -0 ft offset (-0.0 mph)\n"
            "finished rollout:        0 ft AGL,    0 ft back,    0 ft offset\n"
            "max total speed:         0 ft AGL,   -0 ft back,   -0 ft offset (0.0 mph)\n"
            "max horizontal speed:    0 ft AGL,   -0 ft back,   -0 ft offset (0.0 mph)\n"
            "\n"
            "degrees of rotation:         0 deg (right-hand)\n"
            "time to execute turn:     0.00 sec\n"
            "time during rollout:      0.00 sec\n"
            "time aloft during swoop:  0.00 sec\n"
            "\n"
            "entry gate speed:      ---- mph\n"
            "distance to stop:      0 ft\n"
            "touchdown estimate:    0 ft (0.0 mph)\n"
            "speed carve time:      ---- sec (---- mph)\n");
}

struct line_case {
  const char *name;
  void (*change)(swoop &run);
  bool metric;
  const char *line;
};

const line_case line_cases[] = {
    {"an exit of six digits is cut", [](swoop &run) { run.track[1].pos_local.z = 123456.4 / feet_per_metre; }, false,
     "exited airplane:     12345 ft AGL"},
    {"an exit below the gate", [](swoop &run) { run.track[1].pos_local.z = -12.0; }, true,
     "exited airplane:       -12 m AGL"},
    {"an exit rounds before it is cut", [](swoop &run) { run.track[1].pos_local.z = 99999.6; }, true,
     "exited airplane:     10000 m AGL"},
    {"a small distance before the gate is -0 after it", [](swoop &run) { run.track[2].pos_local.x = 0.3; }, true,
     "initiated turn:        200 m AGL,   -0 m back,   35 m offset"},
    {"a carve time is cut, not rounded again", [](swoop &run) { run.exit_gate_time = run.entry_gate_time + 123456; },
     true, "speed carve time:      123.4 sec (72.0 km/h)"},
    {"a carve time rounds before it is cut", [](swoop &run) { run.exit_gate_time = run.entry_gate_time + 12999; }, true,
     "speed carve time:      13.00 sec (72.0 km/h)"},
    {"a carve time without an entry",
     [](swoop &run) {
       run.entry_gate_time = 0;
       run.exit_gate_time = 5250;
     },
     true, "speed carve time:      5.25 sec (72.0 km/h)"},
    {"an exit before the entry wraps, and is cut", [](swoop &run) { run.exit_gate_time = run.entry_gate_time - 1; },
     true, "speed carve time:      18446 sec (72.0 km/h)"},
    {"times before the epoch were found, too",
     [](swoop &run) {
       run.entry_gate_time = -5000;
       run.exit_gate_time = -1000;
     },
     true, "speed carve time:      4.00 sec (72.0 km/h)"},
    {"100,000 m/s in km/h", [](swoop &run) { run.touchdown_speed = 100000.0; }, true,
     "touchdown estimate:    90 m (360000.0 km/h)"},
    {"100,000 m/s in mph", [](swoop &run) { run.touchdown_speed = 100000.0; }, false,
     "touchdown estimate:    295 ft (223693.6 mph)"},
    {"an exit speed without a time", [](swoop &run) { run.exit_gate_time = 0; }, true,
     "speed carve time:      ---- sec (72.0 km/h)"},
    {"a time without an exit speed", [](swoop &run) { run.exit_gate_speed = 0.0; }, true,
     "speed carve time:      3.25 sec (---- km/h)"},
    {"an exit speed of -0 is none", [](swoop &run) { run.exit_gate_speed = -0.0; }, true,
     "speed carve time:      3.25 sec (---- km/h)"},
    {"an exit speed that is not a number is shown", [](swoop &run) { run.exit_gate_speed = not_a_number; }, true,
     "speed carve time:      3.25 sec (nan km/h)"},
    {"an exit speed of six characters is cut", [](swoop &run) { run.exit_gate_speed = 1234.5 / 3.6; }, true,
     "speed carve time:      3.25 sec (1234. km/h)"},
    {"no entry speed", [](swoop &run) { run.entry_gate_speed = 0.0; }, true, "entry gate speed:      ---- km/h"},
    {"an entry speed that is not a number is shown", [](swoop &run) { run.entry_gate_speed = not_a_number; }, false,
     "entry gate speed:      nan mph"},
    {"a low entry speed", [](swoop &run) { run.entry_gate_speed = 1e-9; }, true, "entry gate speed:      0.0 km/h"},
    {"a turn to the left", [](swoop &run) { run.turn_degrees = -270.4; }, false,
     "degrees of rotation:       270 deg (left-hand)"},
    {"a turn of -0 is to the right", [](swoop &run) { run.turn_degrees = -0.0; }, false,
     "degrees of rotation:         0 deg (right-hand)"},
    {"a turn that is not a number is to the left", [](swoop &run) { run.turn_degrees = not_a_number; }, false,
     "degrees of rotation:       nan deg (left-hand)"},
    // 2^64 / 1000 is 18446744073709551.616; doubles of this size are 4 apart, those of 2^64 ms 2048.
    {"a rollout before the turn wraps", [](swoop &run) { run.track[4].time = run.track[2].time - 1000; }, true,
     "time to execute turn:    18446744073709552.00 sec"},
    {"a bottom at time 0 wraps", [](swoop &run) { run.bottom_time = 0; }, true,
     "time during rollout:     18446744073709448.00 sec"},
    {"a touchdown at time 0 wraps", [](swoop &run) { run.touchdown_time = 0; }, true,
     "time aloft during swoop: 18446744073709444.00 sec"},
    {"a long time keeps its digits", [](swoop &run) { run.touchdown_time = run.bottom_time + 1234567; }, true,
     "time aloft during swoop: 1234.57 sec"},
    {"a rollout's end just short of half a unit",
     [](swoop &run) {
       run.bottom_xpos = 0.4999;
       run.bottom_ypos = -0.4999;
     },
     true, "finished rollout:        1 m AGL,    0 m back,    0 m offset"},
    // Half a unit is negated, and rounds to an even 0 with its sign.
    {"a rollout's end at half a unit",
     [](swoop &run) {
       run.bottom_xpos = 0.5;
       run.bottom_ypos = 0.5;
     },
     true, "finished rollout:        1 m AGL,   -0 m back,   -0 m offset"},
    {"a rollout's end at half a unit before the gate", [](swoop &run) { run.bottom_xpos = run.bottom_ypos = -0.5; },
     true, "finished rollout:        1 m AGL,    0 m back,    0 m offset"},
    {"the half unit is of the report's own unit", [](swoop &run) { run.bottom_xpos = run.bottom_ypos = 0.49; }, false,
     "finished rollout:        3 ft AGL,   -2 ft back,   -2 ft offset"},
    {"a rollout's end that is small in feet", [](swoop &run) { run.bottom_xpos = run.bottom_ypos = 0.15; }, false,
     "finished rollout:        3 ft AGL,    0 ft back,    0 ft offset"},
    {"the height of the rollout's end keeps its sign", [](swoop &run) { run.bottom_zpos = -0.2; }, true,
     "finished rollout:       -0 m AGL,    5 m back,   -3 m offset"},
    {"a stop before the gate is not negated", [](swoop &run) { run.track[7].pos_local.x = -3.0; }, true,
     "distance to stop:      -3 m"},
    {"a touchdown before the gate", [](swoop &run) { run.touchdown_distance = -7.0; }, true,
     "touchdown estimate:    -7 m (14.4 km/h)"},
};

TEST(report_test, prints_each_value_in_its_place) {
  for (const line_case &c : line_cases) {
    SCOPED_TRACE(c.name);
    swoop run = scored_run();
    c.change(run);
    const std::string text = "\n" + report_of(run, c.metric);
    EXPECT_NE(text.find("\n" + std::string(c.line) + "\n"), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 18);
  }
}

// Three numbers of 300 digits do not fit into the first block of memory.
TEST(report_test, fails_when_memory_is_short) {
  swoop run = scored_run();
  run.track[2].pos_local = {1e300, 1e300, 1e300};
  run.track[3].pos_local = {1e300, 1e300, 1e300};
  const std::string expected = report_of(run);
  EXPECT_GT(expected.size(), 2000U);
  const auto attempt = [&](std::size_t granted) {
    const allocation_limit limit(granted);
    error_slot error = nullptr;
    const owned_text text = format_swoop_report(run, true, &error);
    EXPECT_EQ(text == nullptr, error != nullptr);
    if (text) {
      EXPECT_EQ(text.get(), expected);
    }
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), (std::vector<std::string>{"malloc() failed", "realloc failed"}));
}

TEST(report_test, takes_one_block_of_memory_for_an_ordinary_run) {
  const swoop run = scored_run();
  const allocation_limit limit(1);
  error_slot error = nullptr;
  EXPECT_NE(format_swoop_report(run, false, &error), nullptr);
}

}  // namespace

}  // namespace tarvel
