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

TEST(figures_test, are_the_same_to_the_last_bit_or_not) {
  const swoop run = analysed(flight_samples());
  swoop other = analysed(flight_samples());
  EXPECT_TRUE(same_figures(run, other));
  other.turn_degrees = std::nextafter(other.turn_degrees, 1000.0);
  EXPECT_FALSE(same_figures(run, other));
  other.turn_degrees = run.turn_degrees;
  other.reversal_detected = true;
  EXPECT_FALSE(same_figures(run, other));
}

}  // namespace
}  // namespace tarvel
