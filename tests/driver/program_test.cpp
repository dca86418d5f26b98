// Whole runs of the program over the examples. The golden files were checked against a second calculation from the
// tracks, written for that alone, and agree with it to the last digit.
#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/golden.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

// Given as rules, so that no zone table needs to be installed: UTC, New York, and Lord Howe Island, where summer time
// is half an hour.
const char *const time_zones[] = {"UTC", "EST5EDT,M3.2.0,M11.1.0", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"};

struct example_case {
  const char *name;
  std::vector<std::string> options;
  bool has_course;
};

const example_case example_cases[] = {
    {"straight", {}, true},        {"carve", {}, true},         {"reversed", {}, true},
    {"tagged", {"-t", "5"}, true}, {"implicit", {"-i"}, false},
};

void expect_run(const example_case &example, const std::string &option, const std::string &report_name,
                const std::string &time_zone) {
  SCOPED_TRACE(report_name + " in " + time_zone);
  const temp_dir folder;
  const std::string name = example.name;
  copy_example(name + ".csv");
  if (example.has_course) copy_example("matrix.txt");

  std::vector<std::string> arguments = example.options;
  if (!option.empty()) arguments.push_back(option);
  arguments.push_back(name + ".csv");
  program_setting setting;
  setting.time_zone = time_zone;
  const program_result result = run_program(arguments, setting);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::string report = read_text(name + ".txt");
  EXPECT_EQ(result.out, "\n" + report);
  expect_golden("driver/" + report_name + ".txt", report);
  // The clock time in the map's name is the one in the track, whatever the zone.
  expect_golden("driver/" + name + ".kml", read_text(name + ".kml"));
}

TEST(program_golden_test, reports_each_example_in_feet_in_three_time_zones) {
  for (const example_case &example : example_cases) {
    for (const char *const zone : time_zones) expect_run(example, "", example.name, zone);
  }
}

TEST(program_golden_test, reports_each_example_in_metres) {
  for (const example_case &example : example_cases) {
    expect_run(example, "-m", std::string(example.name) + "_metric", "UTC");
  }
}

std::string every_fortieth_line(const std::string &text) {
  std::string kept;
  std::size_t number = 0;
  for (std::size_t start = 0; start < text.size(); ++number) {
    const std::size_t end = text.find('\n', start) + 1;
    if (number < 2 || number % 40 == 0) kept += text.substr(start, end - start);
    start = end;
  }
  return kept;
}

// With -d the run of reversed.csv is dumped in its final frame, turned by half a turn.
TEST(program_golden_test, dumps_the_coordinates_of_the_last_frame) {
  const temp_dir folder;
  copy_example("reversed.csv");
  copy_example("matrix.txt");
  const program_result result = run_program({"-d", "reversed.csv"});
  EXPECT_EQ(result.status, 0);
  const std::string dump = read_text("coord.txt");
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 2158);  // as many samples as rows in the track, and two lines
  expect_golden("driver/reversed_every_40.coord.txt", every_fortieth_line(dump));
  expect_golden("driver/reversed.txt", read_text("reversed.txt"));
}

TEST(program_golden_test, writes_a_small_run_whole) {
  const temp_dir folder;
  write_text("small.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result result = run_program({"-d", "small.csv"});
  EXPECT_EQ(result.status, 0);
  expect_golden("driver/small.csv", read_text("small.csv"));
  expect_golden("driver/small.txt", read_text("small.txt"));
  expect_golden("driver/small.kml", read_text("small.kml"));
  expect_golden("driver/small.coord.txt", read_text("coord.txt"));
  expect_golden("driver/small.tvl", read_text("small.tvl"));
}

// A container's times are those of the zone it was written in, which the map's name then shows.
TEST(program_golden_test, analyses_its_own_container_like_the_track) {
  const temp_dir folder;
  write_text("small.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  ASSERT_EQ(run_program({"-d", "small.csv"}).status, 0);
  const program_result again = run_program({"-d", "small.tvl"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out, "\n" + read_text("small.txt"));
  expect_golden("driver/small.txt", read_text("small.txt"));
  expect_golden("driver/small.kml", read_text("small.kml"));
  expect_golden("driver/small.coord.txt", read_text("coord.txt"));
  // The copy of the copy is the same; the first copy was an input and is kept.
  EXPECT_EQ(read_text("small.tvl"), read_text("small.tvl.orig"));
}

struct flight_case {
  const char *name;
  double gate_offset;
  double carve_rate;
  bool reversed;
  bool at_gate;
  bool carve;
};

const flight_case flight_cases[] = {
    {"straight", 0.0, 0.0, false, true, false},
    {"reversed", 0.0, 0.0, true, true, false},
    {"14.9 m to the left of the gate", 14.9, 0.0, false, true, false},
    {"15.1 m to the left of the gate", 15.1, 0.0, false, false, false},
    {"14.9 m to the right of the gate", -14.9, 0.0, false, true, false},
    {"15.1 m to the right of the gate", -15.1, 0.0, false, false, false},
    {"carve to the left", 0.0, 1.0714, false, true, true},  // 75 degrees in 70 m
    {"carve to the right", 0.0, -1.0714, false, true, true},
};

bool has_hyphens(const std::string &report, const std::string &label) {
  const std::size_t at = report.find(label);
  return at != std::string::npos && report.compare(at + label.size(), 4, "----") == 0;
}

TEST(program_test, scores_what_was_flown) {
  for (const flight_case &c : flight_cases) {
    SCOPED_TRACE(c.name);
    const temp_dir folder;
    simulated_run run;
    run.gate_offset = c.gate_offset;
    run.carve_rate = c.carve_rate;
    run.reversed = c.reversed;
    write_text("run.csv", simulated_track(run));
    write_text("matrix.txt", simulated_course(run));
    const program_result result = run_program({"-m", "run.csv"});
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_NE(result.out.find("degrees of rotation:       270 deg (right-hand)"), std::string::npos) << result.out;
    EXPECT_EQ(has_hyphens(result.out, "entry gate speed:      "), !c.at_gate) << result.out;
    EXPECT_EQ(has_hyphens(result.out, "speed carve time:      "), !c.carve) << result.out;
    if (!c.at_gate) continue;
    // 3.6 * 30.9375 m/s, the simulator's formula, is 111.4 km/h; noise moves the last digit.
    EXPECT_NE(result.out.find("entry gate speed:      111."), std::string::npos) << result.out;
    if (!c.carve) {
      // 116.02 m by the simulator's formula.
      EXPECT_NE(result.out.find("distance to stop:      116 m"), std::string::npos) << result.out;
    }
  }
}

}  // namespace
}  // namespace tarvel
