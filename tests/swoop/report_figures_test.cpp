#include "swoop/report_figures.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct print_case {
  const char *name;
  report_figure figure;
  bool metric;
  const char *text;
};

report_figure short_figure(report_figure figure) {
  figure.is_short = true;
  return figure;
}

report_figure without_minus_zero(double metres) { return {metres, figure_unit::metres, 0, nullptr, false, true}; }

constexpr double infinity = std::numeric_limits<double>::infinity();

const print_case print_cases[] = {
    {"feet", {100.0, figure_unit::metres, 0}, false, "328"},
    {"metres", {100.0, figure_unit::metres, 0}, true, "100"},
    {"miles an hour", {10.0, figure_unit::metres_per_second, 1}, false, "22.4"},
    {"kilometres an hour", {10.0, figure_unit::metres_per_second, 1}, true, "36.0"},
    {"seconds in either units", {2.875, figure_unit::seconds, 2}, false, "2.88"},
    {"degrees in either units", {270.5, figure_unit::degrees, 0}, true, "270"},
    {"six digits are cut to five", short_figure({123456.0, figure_unit::metres, 0}), true, "12345"},
    {"six digits that have room", {123456.0, figure_unit::metres, 0}, true, "123456"},
    {"cut, not rounded again", short_figure({123.456, figure_unit::seconds, 2}), true, "123.4"},
    {"hyphens", {1.0, figure_unit::seconds, 2, "----", true}, true, "----"},
    {"minus zero", {-0.4, figure_unit::metres, 0}, true, "-0"},
    {"no minus zero", without_minus_zero(-0.4), true, "0"},
    {"half a unit is kept", without_minus_zero(-0.5), true, "-0"},
    {"no number", {infinity, figure_unit::metres, 0}, false, "inf"},
};

TEST(report_figures_test, prints_a_figure_in_the_units_of_the_report) {
  for (const print_case &c : print_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(print_figure(c.figure, display_units_for(c.metric)).text, c.text);
  }
}

TEST(report_figures_test, has_room_for_the_longest_number) {
  const report_figure figure = {-1.7e308, figure_unit::metres_per_second, 1};
  EXPECT_STREQ(print_figure(figure, display_units_for(true)).text, "-inf");
  const report_figure angle = {-1.7e308, figure_unit::degrees, 1};
  EXPECT_EQ(std::string(print_figure(angle, display_units_for(true)).text).size(), 312u);  // a minus, 309 digits, ".0"
}

// A distance back is along -x, an offset along -y.
TEST(report_figures_test, turns_the_signs_of_places) {
  std::vector<gps_point> samples(3);
  samples[1].pos_local = {-120.5, 35.25, 200.0};
  samples[1].vel_local = {3.0, 4.0, -12.0};
  swoop run = run_of(samples);
  run.top_of_turn = run.max_vert_speed = run.max_total_speed = run.max_horz_speed = 1;
  run.turn_degrees = -270.25;
  const report_figures figures = figures_of(run);
  EXPECT_EQ(figures.turn.altitude.value, 200.0);
  EXPECT_EQ(figures.turn.back.value, 120.5);
  EXPECT_EQ(figures.turn.offset.value, -35.25);
  EXPECT_EQ(figures.max_vertical_speed.speed.value, 12.0);
  EXPECT_EQ(figures.max_horizontal_speed.speed.value, 5.0);
  EXPECT_EQ(figures.max_total_speed.speed.value, 13.0);
  EXPECT_EQ(figures.rotation.value, 270.25);
  EXPECT_STREQ(figures.turn_direction, "left-hand");
  EXPECT_STREQ(figures.exit_altitude.missing, "-----");
}

}  // namespace

}  // namespace tarvel
