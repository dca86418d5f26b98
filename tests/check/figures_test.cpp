#include "check/figures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/checked_flight.h"
#include "swoop/report.h"

namespace tarvel {
namespace {

// Every number of a report in the order of its lines, NaN for hyphens.
std::vector<double> numbers_of(const std::string &report) {
  std::vector<double> numbers;
  for (std::size_t i = 0; i < report.size(); ++i) {
    const bool begins = i > 0 && (report[i - 1] == ' ' || report[i - 1] == '(');
    if (!begins) continue;
    if (report.compare(i, 4, "----") == 0) numbers.push_back(std::nan(""));
    if (std::isdigit(static_cast<unsigned char>(report[i])) != 0 ||
        (report[i] == '-' && std::isdigit(static_cast<unsigned char>(report[i + 1])) != 0)) {
      numbers.push_back(std::strtod(report.c_str() + i, nullptr));
    }
  }
  return numbers;
}

// km/h where the report prints a speed, and no direction.
double as_printed(std::size_t index, double value) {
  switch (static_cast<figure>(index)) {
    case figure::max_vertical_speed:
    case figure::rollout_start_speed:
    case figure::max_total_speed:
    case figure::max_horizontal_speed:
    case figure::entry_gate_speed:
    case figure::touchdown_speed:
    case figure::exit_gate_speed: return 3.6 * value;
    case figure::degrees: return std::fabs(value);
    default: return value;
  }
}

TEST(figures_test, are_those_of_the_report) {
  for (const std::int32_t gate_type : {gate_type_course, gate_type_implicit}) {
    const swoop run = analysed(with_velocity_errors(flight_samples()), gate_type);
    error_slot error = nullptr;
    const owned_text report = format_swoop_report(run, true, &error);
    ASSERT_TRUE(report);
    const std::vector<double> printed = numbers_of(report.get());
    const figure_values values = values_of(run);
    ASSERT_EQ(printed.size(), figure_count) << report.get();
    for (std::size_t i = 0; i < figure_count; ++i) {
      if (std::isnan(printed[i])) {
        EXPECT_TRUE(std::isnan(values[i])) << i;
      } else {
        EXPECT_NEAR(as_printed(i, values[i]), printed[i], 0.5001) << i;
      }
    }
  }
}

TEST(figures_test, are_missing_where_the_report_has_hyphens) {
  swoop run = analysed(flight_samples());
  run.plane_exit = 0;
  run.entry_gate_speed = 0.0;
  run.exit_gate_time = run.entry_gate_time + 2880;
  run.exit_gate_speed = 21.5;
  const figure_values values = values_of(run);
  EXPECT_TRUE(std::isnan(values[index_of(figure::exit_height)]));
  EXPECT_TRUE(std::isnan(values[index_of(figure::entry_gate_speed)]));
  EXPECT_EQ(values[index_of(figure::carve_time)], 2.88);
  EXPECT_EQ(values[index_of(figure::exit_gate_speed)], 21.5);
}

// 5 samples a second: half a step is 0.1 s.
TEST(figures_test, are_known_to_half_a_step) {
  const swoop run = analysed(flight_samples());
  const figure_values known = resolutions_of(run);
  const gps_point &turn = run.track[run.top_of_turn];
  const gps_point &next = run.track[run.top_of_turn + 1];
  EXPECT_NEAR(known[index_of(figure::turn_height)], (turn.pos_local.z - next.pos_local.z) / 2.0, 1e-12);
  EXPECT_NEAR(known[index_of(figure::turn_back)], std::fabs(turn.pos_local.x - next.pos_local.x) / 2.0, 1e-12);
  EXPECT_EQ(known[index_of(figure::rollout_time)], 0.1);
  EXPECT_EQ(known[index_of(figure::entry_gate_speed)], 0.0);
}

// The second step is shorter than one between nodes; behind the third sample the run ends.
TEST(figures_test, are_known_to_half_of_each_step) {
  std::vector<gps_point> samples(4);
  const std::int64_t times[] = {0, 400, 500, 900};
  const vec3 places[] = {{-100.0, 20.0, 90.0}, {-98.0, 16.0, 84.0}, {-97.0, 18.0, 81.0}, {-90.0, 0.0, 70.0}};
  for (std::size_t k = 0; k < samples.size(); ++k) {
    samples[k].time = times[k];
    samples[k].pos_local = places[k];
  }
  swoop run = run_of(samples);
  run.track_len = 3;
  run.top_of_turn = 0;
  run.max_vert_speed = 1;
  run.rollout = run.max_total_speed = run.max_horz_speed = 2;
  const figure_values known = resolutions_of(run);
  const auto expect_place = [&known](figure height, const vec3 &half) {
    const std::size_t first = index_of(height);
    EXPECT_NEAR(known[first], half.z, 1e-12) << first;
    EXPECT_NEAR(known[first + 1], half.x, 1e-12) << first;
    EXPECT_NEAR(known[first + 2], half.y, 1e-12) << first;
  };
  expect_place(figure::turn_height, {1.0, 2.0, 3.0});
  expect_place(figure::max_vertical_height, {1.0, 2.0, 3.0});
  expect_place(figure::rollout_start_height, {});
  expect_place(figure::rollout_end_height, {0.01, 0.01, 0.01});
  expect_place(figure::max_total_height, {});
  expect_place(figure::max_horizontal_height, {});
  EXPECT_EQ(known[index_of(figure::turn_time)], 0.2);
  EXPECT_EQ(known[index_of(figure::rollout_time)], 0.0);
}

TEST(figures_test, tell_which_are_scores_and_which_need_a_touchdown) {
  EXPECT_FALSE(is_score(figure::time_aloft));
  EXPECT_TRUE(is_score(figure::entry_gate_speed));
  EXPECT_TRUE(is_score(figure::exit_gate_speed));
  for (const figure which : {figure::touchdown_distance, figure::touchdown_speed, figure::time_aloft}) {
    EXPECT_TRUE(depends_on_touchdown(which)) << index_of(which);
  }
  EXPECT_FALSE(depends_on_touchdown(figure::distance_to_stop));
}

TEST(figures_test, are_the_same_to_the_last_bit_or_not) {
  const swoop run = analysed(flight_samples());
  swoop other = analysed(flight_samples());
  EXPECT_TRUE(same_figures(run, other));
  other.turn_degrees = std::nextafter(other.turn_degrees, 1000.0);
  EXPECT_FALSE(same_figures(run, other));
  other.turn_degrees = run.turn_degrees;
  other.reversal_detected = true;
  EXPECT_FALSE(same_figures(run, other));
  other.reversal_detected = run.reversal_detected;
  EXPECT_TRUE(same_figures(run, other));
  other.plane_exit = 0;  // the first figure
  EXPECT_FALSE(same_figures(run, other));
}

}  // namespace
}  // namespace tarvel
