// Gate mode from the command line: its output, its files, and a run over its course.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "driver/course_input.h"
#include "driver/course_output.h"
#include "driver/track_files.h"
#include "geo/angle.h"
#include "support/files.h"
#include "support/golden.h"
#include "support/hand_made_walk.h"
#include "support/memory.h"
#include "support/program.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

class gate_program_test : public testing::Test {
 protected:
  const temp_dir folder_;
};

class gate_program_golden_test : public gate_program_test {};

program_result run_cleanly(const std::vector<std::string> &arguments,
                           const program_setting &setting = program_setting()) {
  program_result result = run_program(arguments, setting);
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(result.err, "");
  return result;
}

void write_walk(const char *path, const walk_marks &marks = walk_marks()) {
  write_text(path, walk_text(course_walk(marks).samples));
}

bool contains(const std::string &text, const std::string &words) { return text.find(words) != std::string::npos; }

// The digits were compared with those of a second program.
TEST_F(gate_program_golden_test, prints_the_survey_of_the_example_walk) {
  copy_example("walk.csv");
  expect_golden("gate/example_walk.progress", run_cleanly({"-p", "-g", "walk.csv"}).out);
}

TEST_F(gate_program_test, surveys_the_example_walk) {
  copy_example("walk.csv");
  copy_example("matrix.txt");
  const std::string course = read_text("matrix.txt");
  fs::remove("matrix.txt");

  run_cleanly({"-p", "-g", "walk.csv"});
  EXPECT_EQ(read_text("walk.txt"), course);
  EXPECT_EQ(read_text("matrix.txt"), course);
  const std::string kml = read_text("walk.kml");
  EXPECT_TRUE(contains(kml, "      <name>May16 08:12</name>\n"));
  EXPECT_TRUE(contains(kml, "          6.0754832,52.1385574,27.125\n"));
  // As many coordinates as the walk has rows, and three of the entry gate.
  EXPECT_EQ(std::count(kml.begin(), kml.end(), ','), 2 * (1738 + 3));
}

// A walk to the south whose gate marks lie on one parallel, exactly to both sides of the course: its theta and
// deviations are rounding noise, with the signs that the order of the operations gives them. Compared with a second
// program as well.
TEST_F(gate_program_golden_test, writes_the_files_of_a_small_symmetric_walk) {
  walk_place place;
  place.bearing = 180.0;
  write_text("walk.csv", walk_text(sparse_walk(walk_marks(), place).samples));
  expect_golden("gate/symmetric_walk.progress", run_cleanly({"-p", "-d", "-g", "walk.csv"}).out);
  expect_golden("gate/symmetric_walk.txt", read_text("walk.txt"));
  expect_golden("gate/symmetric_walk.kml", read_text("walk.kml"));
  expect_golden("gate/symmetric_walk.tvl", read_text("walk.tvl"));
}

TEST_F(gate_program_test, names_the_map_after_the_clock_of_the_logger_everywhere) {
  write_walk("walk.csv");
  for (const char *zone : {"UTC", "America/New_York", "Asia/Kathmandu"}) {
    SCOPED_TRACE(zone);
    program_setting setting;
    setting.time_zone = zone;
    run_cleanly({"-g", "walk.csv"}, setting);
    EXPECT_TRUE(contains(read_text("walk.kml"), "<name>May16 10:00</name>"));
  }
}

// The name has no seconds: the second sample is a minute later.
TEST_F(gate_program_test, names_the_map_after_the_first_sample) {
  std::vector<gps_point> samples = course_walk().samples;
  for (std::size_t i = 1; i < samples.size(); ++i) samples[i].time += 60000;
  write_text("walk.csv", walk_text(samples));
  run_cleanly({"-g", "walk.csv"});
  EXPECT_TRUE(contains(read_text("walk.kml"), "<name>May16 10:00</name>"));
}

TEST_F(gate_program_test, writes_the_pond_and_the_container_only_when_asked) {
  write_walk("walk.csv");
  const std::string progress = run_cleanly({"-g", "walk.csv"}).out;
  const std::string without = read_text("walk.txt");
  EXPECT_FALSE(contains(without, "swoop pond"));
  EXPECT_EQ(read_text("matrix.txt"), without);
  EXPECT_FALSE(file_exists("walk.tvl"));

  EXPECT_EQ(run_cleanly({"-p", "-d", "-g", "walk.csv"}).out, progress);
  const std::string with = read_text("walk.txt");
  EXPECT_EQ(with.substr(0, without.size()), without);
  EXPECT_EQ(with.substr(without.size(), 4), "\n// ");
  EXPECT_EQ(read_text("matrix.txt"), with);
  EXPECT_TRUE(file_exists("walk.tvl"));
  EXPECT_FALSE(file_exists("coord.txt"));
}

TEST_F(gate_program_test, does_not_look_at_the_other_options) {
  write_walk("walk.csv");
  run_cleanly({"-g", "walk.csv"});
  const std::string course = read_text("walk.txt");
  run_cleanly({"-m", "-t", "3", "-g", "walk.csv"});
  EXPECT_EQ(read_text("walk.txt"), course);
}

TEST_F(gate_program_test, takes_a_container_in_place_of_the_walk) {
  write_walk("walk.csv", {.b = {3.0, 6.0, 0.0}});
  for (const bool with_pond : {true, false}) {
    SCOPED_TRACE(with_pond);
    const std::vector<std::string> options = with_pond ? std::vector<std::string>{"-p"} : std::vector<std::string>();
    std::vector<std::string> survey = options;
    survey.insert(survey.end(), {"-d", "-g", "walk.csv"});
    run_cleanly(survey);
    fs::rename("walk.tvl", "course.tvl");

    std::vector<std::string> again = options;
    again.insert(again.end(), {"-g", "course.tvl"});
    fs::remove("matrix.txt");
    EXPECT_EQ(run_cleanly(again).out, "");
    EXPECT_EQ(read_text("course.txt"), read_text("walk.txt"));
    EXPECT_EQ(read_text("matrix.txt"), read_text("walk.txt"));
    EXPECT_FALSE(file_exists("course.kml"));
  }
}

// A walk that jumps from mark to mark has no pond.
TEST_F(gate_program_test, writes_no_points_of_a_container_without_a_pond) {
  hand_made_walk walk;
  walk.speed = 1000.0;
  walk_course(walk, walk_marks(), 12.0);
  write_text("walk.csv", walk_text(walk.samples));
  run_cleanly({"-p", "-d", "-g", "walk.csv"});
  EXPECT_FALSE(contains(read_text("walk.txt"), "swoop pond"));
  EXPECT_EQ(fs::file_size("walk.tvl"), 186U);

  fs::rename("walk.tvl", "course.tvl");
  run_cleanly({"-p", "-g", "course.tvl"});
  EXPECT_EQ(read_text("course.txt"), read_text("walk.txt") +
                                         "\n// These (x, y) coordinates define the perimeter of the swoop pond.\n"
                                         "// They are expressed in meters in the local reference frame.\n\n");
}

TEST_F(gate_program_test, warns_of_a_clockwise_walk) {
  walk_marks marks;
  std::swap(marks.b, marks.d);
  write_walk("walk.csv", marks);
  const std::string progress = run_cleanly({"-g", "walk.csv"}).out;
  EXPECT_TRUE(contains(progress, "deviation)\nWARNING: clockwise pond walk detected\ntheta = ")) << progress;
  EXPECT_TRUE(contains(last_line(progress), "180.0 degrees"));
}

TEST_F(gate_program_test, prints_the_warnings_of_the_reader_before_the_progress) {
  std::string walk = walk_text(course_walk().samples);
  walk.insert(walk.find(",numSV"), ",foo");
  write_text("walk.csv", walk);
  EXPECT_EQ(run_cleanly({"-g", "walk.csv"}).out.rfind("WARNING: unknown field (foo)\nwaypoint detected: ", 0), 0U);
}

TEST_F(gate_program_test, analyses_a_run_over_the_course_that_it_has_just_surveyed) {
  copy_example("walk.csv");
  copy_example("straight.csv");
  write_text("matrix.txt", "this is no course\n");
  const std::string both = run_cleanly({"-p", "-g", "walk.csv", "straight.csv"}).out;
  const std::string survey = run_cleanly({"-p", "-g", "walk.csv"}).out;
  const std::string run = run_cleanly({"straight.csv"}).out;
  EXPECT_EQ(both, survey + run);
  EXPECT_EQ(run, "\n" + read_text("straight.txt"));
  EXPECT_TRUE(file_exists("walk.kml"));
  EXPECT_TRUE(file_exists("straight.kml"));
}

TEST_F(gate_program_test, does_not_begin_the_run_after_a_failed_survey) {
  copy_example("straight.csv");
  write_walk("walk.csv", {.b = {0.0, 20.0, 0.0}, .d = {0.0, 5.0, 0.0}});
  const program_result result = run_program({"-p", "-d", "-g", "walk.csv", "straight.csv"});
  EXPECT_EQ(result.status, 1);
  // No progress either.
  EXPECT_EQ(result.out, "ERROR: AC and BD do not intersect\n");
  for (const char *name : {"walk.txt", "walk.kml", "walk.tvl", "matrix.txt", "straight.kml"}) {
    EXPECT_FALSE(file_exists(name)) << name;
  }
}

// Half a unit of the last decimal that the file has: nine for the axes, three for the translation, eight for theta in
// degrees and one for the pond.
TEST_F(gate_program_test, loses_nothing_but_the_decimals_of_the_course_file) {
  write_walk("walk.csv", {.b = {3.0, 6.0, 0.5}, .exit_mark = {{50.0, 42.0, 0.0}}});
  run_cleanly({"-p", "-g", "walk.csv"});
  error_slot error = nullptr;
  const owned_record<gate> surveyed = gate_open("walk.csv", nullptr, &error);
  ASSERT_NE(surveyed, nullptr) << error;
  std::optional<course> read;
  read_course_file("matrix.txt", "run.csv", read, &error);
  ASSERT_STREQ(error, nullptr);
  ASSERT_TRUE(read && read->pond && surveyed->course.pond);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(read->matrix.m[r][c], surveyed->course.matrix.m[r][c], c == 3 ? 0.51e-3 : 0.51e-9);
    }
  }
  EXPECT_NEAR(degrees_from_radians(read->theta), degrees_from_radians(surveyed->course.theta), 0.51e-8);
  EXPECT_GT(std::fabs(degrees_from_radians(read->theta)), 1.0);
  const std::span<const vec3> points = points_of(*surveyed->course.pond);
  ASSERT_EQ(read->pond->count, points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_NEAR(read->pond->points[i].x, points[i].x, 0.0501);
    EXPECT_NEAR(read->pond->points[i].y, points[i].y, 0.0501);
  }
  EXPECT_GT(points.size(), 50U);

  // A course that was read is written again with the same bytes.
  write_course_file("again.txt", *read, &error);
  ASSERT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("again.txt"), read_text("walk.txt"));
}

}  // namespace
}  // namespace tarvel
