#include "verdict/check_report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>

#include "support/checked_flight.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

std::string report_of(const swoop &run, const run_check &check, const run_verdict &verdict, bool metric = true) {
  error_slot error = "left over";
  const owned_text text = format_check_report(run, check, verdict, metric, &error);
  EXPECT_STREQ(error, nullptr);
  return text ? text.get() : "";
}

// A run of 5 samples a second with everything missing but what a test sets.
swoop short_run() {
  std::vector<gps_point> samples(11);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].time = static_cast<std::int64_t>(i) * 200;
    samples[i].numsv = static_cast<std::uint8_t>(12 + i % 4);
  }
  swoop run = run_of(samples);
  run.top_of_turn = 1;
  run.stop = 10;
  return run;
}

run_check empty_check() {
  run_check check;
  for (figure_check &each : check.figures) each.value = std::numeric_limits<double>::quiet_NaN();
  check.draws = 400;
  for (figure_check &each : check.figures) each.missing = 1.0;
  return check;
}

bool contains(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

TEST(check_report_test, rounds_the_ends_outward) {
  run_check check = empty_check();
  check.figures[index_of(figure::distance_to_stop)] = {63.6, true, {62.1, 64.9}, 0.0};
  check.figures[index_of(figure::carve_time)] = {2.8765, true, {2.8217, 2.9301}, 0.0};
  const std::string text = report_of(short_run(), check, {});
  EXPECT_TRUE(contains(text, "distance to stop:             64 m         62 ..      65\n")) << text;
  EXPECT_TRUE(contains(text, "speed carve time:           2.88 sec     2.82 ..    2.94\n")) << text;
  EXPECT_TRUE(contains(text, "5 samples a second, 12 to 15 satellites\n")) << text;
  EXPECT_TRUE(contains(text, "entry gate speed:           ---- km/h\n")) << text;
  EXPECT_TRUE(contains(text, "verdict: good\n")) << text;
}

// In binary 7.825 is a little more and 1.005 a little less. The report prints 7.83 and 1.00.
TEST(check_report_test, rounds_the_figure_as_the_report_does) {
  run_check check = empty_check();
  check.figures[index_of(figure::time_aloft)] = {7.825, true, {7.51, 7.86}, 0.0};
  check.figures[index_of(figure::carve_time)] = {1.005, true, {1.0, 1.01}, 0.0};
  const std::string text = report_of(short_run(), check, {});
  EXPECT_TRUE(contains(text, "time aloft during swoop:    7.83 sec     7.51")) << text;
  EXPECT_TRUE(contains(text, "speed carve time:           1.00 sec     1.00")) << text;
}

TEST(check_report_test, prints_in_the_units_of_the_report) {
  run_check check = empty_check();
  check.figures[index_of(figure::entry_gate_speed)] = {30.0, true, {29.5, 30.5}, 0.0};
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "108.0 km/h   106.2 ..   109.8\n"));
  EXPECT_TRUE(contains(report_of(short_run(), check, {}, false), "67.1 mph     65.9 ..    68.3\n"));
}

// In a track of several jumps the first sample is that of another jump.
TEST(check_report_test, begins_with_the_time_of_the_turn) {
  swoop run = short_run();
  run.track[0].time -= 7200000;
  EXPECT_TRUE(contains(report_of(run, empty_check(), {}), ": 1970-01-01 00:00:00, 5 samples a second, "));
  run.top_of_turn = 5;
  EXPECT_TRUE(contains(report_of(run, empty_check(), {}), ": 1970-01-01 00:00:01, 5 samples a second, "));
}

TEST(check_report_test, counts_one_as_one) {
  swoop run = short_run();
  for (gps_point &sample : std::span(run.track.get(), run.track_len)) {
    sample.time *= 5;
    sample.numsv = 1;
  }
  EXPECT_TRUE(contains(report_of(run, empty_check(), {}), ", 1 sample a second, 1 satellite\n"));
  run.track[run.stop].numsv = 0;
  EXPECT_TRUE(contains(report_of(run, empty_check(), {}), ", 1 sample a second, 0 to 1 satellites\n"));
  run.track[run.stop].time += 100;
  EXPECT_TRUE(contains(report_of(run, empty_check(), {}), ", 0.989 samples a second, "));
}

TEST(check_report_test, says_where_draws_differ) {
  run_check check = empty_check();
  check.figures[index_of(figure::degrees)] = {-270.4, true, {-282.3, -263.8}, 0.0};
  check.figures[index_of(figure::entry_gate_speed)] = {30.0, true, {29.5, 30.5}, 0.112};
  check.figures[index_of(figure::carve_time)].missing = 0.75;
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "270 deg      263 ..     283   left-hand in all draws\n"));
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "109.8   missing in 12 % of the draws\n"));
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "---- sec   found in 25 % of the draws\n"));
  check.other_hand = 0.125;
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "left-hand in 87 % of the draws\n"));
  // Whole percents, whose product with 100.0 is not whole.
  check.figures[index_of(figure::entry_gate_speed)].missing = 28.0 / 400.0;
  check.figures[index_of(figure::carve_time)].missing = 164.0 / 400.0;
  check.other_hand = 136.0 / 400.0;
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "109.8   missing in 7 % of the draws\n"));
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "---- sec   found in 59 % of the draws\n"));
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "left-hand in 66 % of the draws\n"));
}

TEST(check_report_test, prints_bounds_instead_of_a_value) {
  run_check check = empty_check();
  check.figures[index_of(figure::carve_time)] = {2.9, false, {2.111, 3.222}, 0.0, true};
  EXPECT_TRUE(contains(report_of(short_run(), check, {}),
                       "speed carve time:           ---- sec     2.11 ..    3.23   bounds: crossed while"));
}

TEST(check_report_test, never_prints_a_negative_zero) {
  run_check check = empty_check();
  check.figures[index_of(figure::turn_back)] = {-0.2, true, {-0.7, -0.0}, 0.0};
  EXPECT_TRUE(contains(report_of(short_run(), check, {}), "  0 m         -1 ..       0\n"));
}

TEST(check_report_test, gives_reasons_and_the_verdict) {
  run_verdict verdict;
  verdict.worst = severity::unusable;
  verdict.reasons[0] = {reason_code::gap_at_gate, 1.8};
  verdict.reasons[1] = {reason_code::touchdown_is_stop, 64.1};
  verdict.count = 2;
  const std::string text = report_of(short_run(), empty_check(), verdict);
  EXPECT_TRUE(contains(text, "unusable: gap-at-gate: 1.80 s without samples while")) << text;
  EXPECT_TRUE(contains(text, "note: touchdown-is-stop: 64.1 m from the gate to the stop")) << text;
  EXPECT_TRUE(contains(text, "verdict: unusable\n")) << text;
}

constexpr const char *a_length = "      12 m         11 ..      14";
constexpr const char *a_speed = "    44.4 km/h    40.3 ..    47.2";
constexpr const char *a_time = "   12.34 sec    11.20 ..   13.11";
constexpr const char *an_angle = "      12 deg       11 ..      14   right-hand in all draws";

struct expected_line {
  const char *label;
  const char *behind;
};

const expected_line expected_lines[] = {
    {"entry gate speed:       ", a_speed},  {"distance to stop:       ", a_length},
    {"touchdown estimate:     ", a_length}, {"  speed:                ", a_speed},
    {"speed carve time:       ", a_time},   {"  speed:                ", a_speed},
    {"degrees of rotation:    ", an_angle}, {"time to execute turn:   ", a_time},
    {"time during rollout:    ", a_time},   {"time aloft during swoop:", a_time},
    {"exited airplane:        ", a_length}, {"initiated turn:         ", a_length},
    {"  back:                 ", a_length}, {"  offset:               ", a_length},
    {"max vertical speed:     ", a_length}, {"  back:                 ", a_length},
    {"  offset:               ", a_length}, {"  speed:                ", a_speed},
    {"started rollout:        ", a_length}, {"  back:                 ", a_length},
    {"  offset:               ", a_length}, {"  speed:                ", a_speed},
    {"finished rollout:       ", a_length}, {"  back:                 ", a_length},
    {"  offset:               ", a_length}, {"max total speed:        ", a_length},
    {"  back:                 ", a_length}, {"  offset:               ", a_length},
    {"  speed:                ", a_speed},  {"max horizontal speed:   ", a_length},
    {"  back:                 ", a_length}, {"  offset:               ", a_length},
    {"  speed:                ", a_speed},
};

TEST(check_report_test, prints_every_figure_in_its_unit) {
  run_check check = empty_check();
  for (figure_check &each : check.figures) each = {12.343, true, {11.204, 13.106}, 0.0};
  std::string expected = ": 1970-01-01 00:00:00, 5 samples a second, 12 to 15 satellites\n\n";
  for (const expected_line &line : expected_lines) expected += std::string(line.label) + line.behind + "\n";
  EXPECT_EQ(report_of(short_run(), check, {}), expected + "\nverdict: good\n");
}

TEST(check_report_test, gives_no_interval_of_a_touchdown_that_is_the_stop) {
  swoop run = short_run();
  run.touchdown_time = run.track[run.stop].time;
  run_check check = empty_check();
  for (figure_check &each : check.figures) each = {12.343, true, {11.204, 13.106}, 0.0};
  const std::string text = report_of(run, check, {});
  EXPECT_TRUE(contains(text,
                       "touchdown estimate:           12 m   is the stop: nobody marked the touchdown\n"
                       "  speed:                    44.4 km/h   at the stop\n"))
      << text;
  EXPECT_TRUE(contains(text, "time aloft during swoop:   12.34 sec   at the stop\n")) << text;
  EXPECT_TRUE(contains(text, "distance to stop:             12 m         11 ..      14\n")) << text;
}

TEST(check_report_test, says_when_memory_is_short) {
  const auto attempt = [](std::size_t granted) {
    const swoop run = short_run();
    const run_check check = empty_check();
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    const owned_text text = format_check_report(run, check, {}, false, &error);
    EXPECT_EQ(text == nullptr, error != nullptr);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), (std::vector<std::string>{"malloc() failed", "realloc failed"}));
}

}  // namespace
}  // namespace tarvel
