#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "chart/run_charts.h"
#include "support/chart_text.h"
#include "support/hand_made_swoop.h"
#include "support/pond_of.h"

namespace tarvel {
namespace {

const char *const metric_path = "solid with dots ff0000 of run.csv: (-200, 50) (-100, 20) (-10, -2) (60, 1)\n";
const char *const metric_poles =
    "open circle ff0000 radius 0.75: (0, 5) (0, -5) (12, 5) (12, -5) (24, 5) (24, -5) (36, 5) (36, -5) (50, 5) "
    "(50, -5)\n";
const char *const metric_outline =
    "solid ff0000: (50, 5) (50, -5) (56, -5) (56, 5) (61, 5) (61, -5) (65, -5) (65, 5) (68, 5) (68, -5) (70, -5) "
    "(70, 5) (72, 5) (72, -5) (74, -5) (74, 5) (78, 5) (78, -5) (50, -5) (50, 5) (78, 5) (72, 5) (72, 1) (70, 1) "
    "(70, -1) (72, -1)\n";

TEST(view_charts_test, draws_the_straight_course_under_the_flight_path) {
  const swoop run = hand_made_swoop();
  EXPECT_EQ(text_of(*build_overhead_chart({run, nullptr, true})),
            std::string("overhead view of flight path | x-axis distance from gate (meters) | y-axis distance from gate "
                        "(meters) | equal_scale steps 0, 0\n") +
                metric_path + metric_poles + metric_outline);
}

TEST(view_charts_test, converts_path_poles_outline_and_pond_to_feet) {
  const swoop run = hand_made_swoop();
  const pond_outline pond = pond_of({{-10, 20, 7}, {100, 0, 0}, {0, -1, 0}});
  const owned_record<chart> made = build_overhead_chart({run, &pond, false});
  EXPECT_EQ(heading_text(*made),
            "overhead view of flight path | x-axis distance from gate (feet) | y-axis distance from gate (feet) | "
            "equal_scale steps 0, 0\n");
  const series *const path = made->first_series.get();
  EXPECT_EQ(text_of(*path),
            "solid with dots ff0000 of run.csv: (-656.16798, 164.041995) (-328.08399, 65.616798) (-32.808399, "
            "-6.5616798) (196.850394, 3.2808399)\n");
  const series *const poles = path->next.get();
  EXPECT_EQ(text_of(*poles),
            "open circle ff0000 radius 2.46062993: (0, 16.4041995) (0, -16.4041995) (39.3700788, 16.4041995) "
            "(39.3700788, -16.4041995) (78.7401576, 16.4041995) (78.7401576, -16.4041995) (118.110236, 16.4041995) "
            "(118.110236, -16.4041995) (164.041995, 16.4041995) (164.041995, -16.4041995)\n");
  const series *const outline = poles->next.get();
  ASSERT_EQ(outline->count, 26U);
  EXPECT_DOUBLE_EQ(outline->points[16].x, 255.9055122);  // 78 m
  EXPECT_DOUBLE_EQ(outline->points[25].y, -3.2808399);
  EXPECT_EQ(text_of(*outline->next), "thick dashed 1010e0: (-32.808399, 65.616798) (328.08399, 0) (0, -3.2808399)\n");
  EXPECT_FALSE(outline->next->next);
}

struct course_case {
  const char *name;
  std::int32_t gate_type;
  bool has_pond;
  bool has_course;
};

const course_case course_cases[] = {
    {"course", gate_type_course, false, true},
    {"fixed course", gate_type_fixed_course, false, true},
    {"implicit", gate_type_implicit, false, false},
    {"implicit with a pond", gate_type_implicit, true, true},
};

TEST(view_charts_test, leaves_the_course_out_for_a_run_without_one) {
  const pond_outline pond = pond_of({{9, 8, 0}});
  for (const course_case &c : course_cases) {
    SCOPED_TRACE(c.name);
    swoop run = hand_made_swoop();
    run.gate_type = c.gate_type;
    const std::string course = c.has_course ? std::string(metric_poles) + metric_outline : "";
    const std::string outline = c.has_pond ? "thick dashed 1010e0: (9, 8)\n" : "";
    EXPECT_EQ(series_text(*build_overhead_chart({run, c.has_pond ? &pond : nullptr, true})),
              metric_path + course + outline);
    run.carve_detected = true;
    const owned_record<chart> carved = build_overhead_chart({run, c.has_pond ? &pond : nullptr, true});
    EXPECT_EQ(carved->first_series->next != nullptr, c.has_course);
  }
}

TEST(view_charts_test, adds_an_empty_series_for_a_pond_of_no_points) {
  const swoop run = hand_made_swoop();
  const pond_outline pond;
  EXPECT_EQ(series_text(*build_overhead_chart({run, &pond, true})),
            std::string(metric_path) + metric_poles + metric_outline + "thick dashed 1010e0:\n");
}

TEST(view_charts_test, draws_every_point_of_the_pond_wherever_it_lies) {
  const swoop run = hand_made_swoop();
  const pond_outline pond =
      pond_of({{0, 3, 0}, {4, 0, 0}, {5e-324, 0, 0}, {not_a_number, 0, 0}, {0, -0.0, 0}, {6, 6, 0}});
  const owned_record<chart> made = build_overhead_chart({run, &pond, false});
  const series *last = made->first_series.get();
  while (last->next) last = last->next.get();
  ASSERT_EQ(last->count, 6U);
  EXPECT_GT(last->points[2].x, 0.0);
  EXPECT_EQ(last->points[4].x, 0.0);
  EXPECT_DOUBLE_EQ(last->points[5].x, 19.6850394);
}

// sin and cos of 18.75 k degrees at 100 digits would not differ in the ninth.
TEST(view_charts_test, bends_the_gates_of_a_speed_carve_to_its_side) {
  swoop run = hand_made_swoop();
  run.carve_detected = true;
  for (const bool metric : {true, false}) {
    for (const std::uint8_t direction : {carve_towards_minus_y, carve_towards_plus_y}) {
      SCOPED_TRACE(testing::Message() << metric << ' ' << int{direction});
      run.carve_direction = direction;
      const owned_record<chart> made = build_overhead_chart({run, nullptr, metric});
      const series *const poles = made->first_series->next.get();
      EXPECT_FALSE(poles->next);  // no outline
      ASSERT_EQ(poles->count, 10U);
      EXPECT_EQ(poles->style, series_style::open_circle);
      EXPECT_EQ(poles->colour, red);
      const double factor = metric ? 1.0 : 3.2808399;
      const double side = direction == carve_towards_plus_y ? factor : -factor;
      EXPECT_DOUBLE_EQ(poles->radius, 0.75 * factor);
      for (std::uint32_t k = 0; k < 5; ++k) {
        const double angle = k * 18.75 * std::numbers::pi / 180.0;
        const double radius = 70.0 / (75.0 * std::numbers::pi / 180.0);
        const vec2 inner = poles->points[2 * k];
        const vec2 outer = poles->points[2 * k + 1];
        EXPECT_NEAR(inner.x, (radius - 5.0) * std::sin(angle) * factor, 1e-10);
        EXPECT_NEAR(inner.y, (radius - (radius - 5.0) * std::cos(angle)) * side, 1e-10);
        EXPECT_NEAR(outer.x, (radius + 5.0) * std::sin(angle) * factor, 1e-10);
        EXPECT_NEAR(outer.y, (radius - (radius + 5.0) * std::cos(angle)) * side, 1e-10);
      }
      // The entry gate stands across the axis, its inner pole on the side of the turn.
      EXPECT_NEAR(poles->points[0].y, 5.0 * side, 1e-10);
    }
  }
}

TEST(view_charts_test, draws_the_side_view) {
  const swoop run = hand_made_swoop();
  const pond_outline pond = pond_of({{9, 8, 0}});
  EXPECT_EQ(text_of(*build_side_view_chart({run, &pond, true})),
            "side view of flight path | x-axis distance from gate (meters) | height (meters) | equal_scale steps 0, 0\n"
            "solid with dots ff0000 of run.csv: (-200, 300) (-100, 100) (-10, 10) (60, 1)\n");
  EXPECT_EQ(text_of(*build_side_view_chart({run, nullptr, false})),
            "side view of flight path | x-axis distance from gate (feet) | height (feet) | equal_scale steps 0, 0\n"
            "solid with dots ff0000 of run.csv: (-656.16798, 984.25197) (-328.08399, 328.08399) (-32.808399, "
            "32.808399) (196.850394, 3.2808399)\n");
}

TEST(view_charts_test, starts_at_the_exit_when_asked) {
  const swoop run = hand_made_swoop();
  EXPECT_EQ(text_of(*build_side_view_chart({run, nullptr, true, true})->first_series),
            "solid with dots ff0000 of run.csv: (-500, 1000) (-200, 300) (-100, 100) (-10, 10) (60, 1)\n");
  EXPECT_EQ(build_overhead_chart({run, nullptr, true, true})->first_series->count, 5U);
}

}  // namespace
}  // namespace tarvel
