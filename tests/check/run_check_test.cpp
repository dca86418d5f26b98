#include "check/run_check.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "check/crossing_bounds.h"
#include "support/checked_flight.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

run_check checked(const swoop &run, const check_settings &settings = {}) {
  run_check check;
  error_slot error = "left over";
  check_run(run, settings, check, &error);
  EXPECT_STREQ(error, nullptr);
  return check;
}

const check_settings few_draws = {.draws = 60};
const check_settings few_draws_anyway = {.draws = 60, .even_if_withheld = true};

bool same_check(const run_check &a, const run_check &b) {
  for (std::size_t i = 0; i < figure_count; ++i) {
    if (a.figures[i].range.low != b.figures[i].range.low || a.figures[i].range.high != b.figures[i].range.high) {
      return false;
    }
  }
  return true;
}

TEST(run_check_test, gives_each_figure_an_interval_around_it) {
  for (const std::int32_t gate_type : {gate_type_course, gate_type_implicit}) {
    SCOPED_TRACE(gate_type);
    const swoop run = analysed(with_velocity_errors(flight_samples()), gate_type);
    const run_check check = checked(run, few_draws);
    EXPECT_EQ(check.reason, withheld::nothing);
    EXPECT_EQ(check.draws, 60U);
    EXPECT_EQ(check.failed, 0.0);
    EXPECT_EQ(check.other_hand, 0.0);
    EXPECT_LT(check.samples, run.track_len);
    const figure_values values = values_of(run);
    for (std::size_t i = 0; i < figure_count; ++i) {
      const figure_check &each = check.figures[i];
      const bool is_of_stop = depends_on_touchdown(static_cast<figure>(i)) && !is_touchdown_marked(run);
      if (std::isnan(values[i]) || is_of_stop) {
        EXPECT_FALSE(each.has_interval) << i;
        continue;
      }
      EXPECT_EQ(each.value, values[i]) << i;
      EXPECT_TRUE(each.has_interval) << i;
      EXPECT_LE(each.range.low, values[i]) << i;
      EXPECT_GE(each.range.high, values[i]) << i;
      EXPECT_LT(each.range.low, each.range.high) << i;
      EXPECT_EQ(each.missing, 0.0) << i;
    }
  }
}

TEST(run_check_test, holds_the_truth_of_a_flight_with_known_errors) {
  const swoop truth = analysed(flight_samples());
  const run_check check = checked(analysed(with_velocity_errors(flight_samples())));
  const figure_check &speed = check_of(check, figure::entry_gate_speed);
  EXPECT_LE(speed.range.low, truth.entry_gate_speed);
  EXPECT_GE(speed.range.high, truth.entry_gate_speed);
  EXPECT_GT(speed.range.high - speed.range.low, 0.1);
  EXPECT_LT(speed.range.high - speed.range.low, 1.5);
}

// The offset is in the frame as well.
TEST(run_check_test, knows_distances_better_in_a_frame_of_the_run_itself) {
  const std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  const run_check over_course = checked(analysed(samples), few_draws);
  const run_check alone = checked(analysed(samples, gate_type_implicit), few_draws);
  const auto width = [](const run_check &check) {
    const figure_check &height = check_of(check, figure::rollout_end_height);
    return height.range.high - height.range.low;
  };
  EXPECT_GT(width(over_course), 1.5 * width(alone));
}

TEST(run_check_test, draws_the_same_from_the_same_seed) {
  const swoop run = analysed(with_velocity_errors(flight_samples()));
  EXPECT_TRUE(same_check(checked(run, {.draws = 30, .seed = 5}), checked(run, {.draws = 30, .seed = 5})));
  EXPECT_FALSE(same_check(checked(run, {.draws = 30, .seed = 5}), checked(run, {.draws = 30, .seed = 6})));
}

TEST(run_check_test, says_how_many_draws_lack_a_figure) {
  // 14.9 m beside the gate, which is 15 m to either side.
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  swoop run = run_of(samples);
  mat4 beside = simulated_frame();
  beside.m[1][3] += 14.7;
  error_slot error = nullptr;
  analyze_swoop(run, gate_type_course, beside, 0.0, &error);
  ASSERT_NE(run.entry_gate, 0U);
  const run_check check = checked(run, {.draws = 200});
  const figure_check &speed = check_of(check, figure::entry_gate_speed);
  EXPECT_GT(speed.missing, 0.05);
  EXPECT_LT(speed.missing, 0.6);
  EXPECT_TRUE(speed.has_interval);
  EXPECT_EQ(check_of(check, figure::distance_to_stop).missing, 0.0);
  EXPECT_EQ(check_of(check, figure::carve_time).missing, 1.0);
}

TEST(run_check_test, gives_no_interval_of_a_figure_that_only_draws_have) {
  swoop run = run_of(with_velocity_errors(flight_samples()));
  mat4 beside = simulated_frame();
  beside.m[1][3] += 15.3;
  error_slot error = nullptr;
  analyze_swoop(run, gate_type_course, beside, 0.0, &error);
  ASSERT_EQ(run.entry_gate, 0U);
  const run_check check = checked(run, {.draws = 200});
  EXPECT_LT(check_of(check, figure::entry_gate_speed).missing, 1.0);
  EXPECT_FALSE(check_of(check, figure::entry_gate_speed).has_interval);
}

TEST(run_check_test, counts_the_draws_that_turn_the_other_way_round) {
  const std::vector<flight_leg> swoop_and_rest = {{6.0, 0.0, 0.0, 0.0}, {20.0, 0.0, 0.0, 0.0}};
  const run_check check = checked(analysed(with_velocity_errors(flight_samples(swoop_and_rest, 0.0))), {.draws = 100});
  EXPECT_GT(check.other_hand, 0.0);
  EXPECT_LT(check.other_hand, 1.0);
  EXPECT_EQ(check.other_degrees, 0.0);
}

TEST(run_check_test, leaves_the_run_as_it_is) {
  const swoop run = analysed(with_velocity_errors(flight_samples()));
  const swoop same = analysed(with_velocity_errors(flight_samples()));
  static_cast<void>(checked(run, few_draws));
  EXPECT_EQ(std::memcmp(run.track.get(), same.track.get(), run.track_len * sizeof(gps_point)), 0);
  EXPECT_TRUE(same_figures(run, same));
}

struct withheld_case {
  const char *name;
  std::vector<gps_point> (*make)();
  withheld expected;
};

std::vector<gps_point> with_gap() {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  // In the rollout, at 135 s: 1 s is missing.
  samples.erase(samples.begin() + 673, samples.begin() + 677);
  return samples;
}

std::vector<gps_point> with_repeated_time() {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  samples[600].time = samples[599].time;  // in straight flight
  return samples;
}

std::vector<gps_point> with_endless_velocity() {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  samples[580].vel_ltp.x = endless;  // in straight flight
  return samples;
}

std::vector<gps_point> without_accuracy() {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  samples[660].vacc = static_cast<float>(not_a_number);
  return samples;
}

std::vector<gps_point> every(std::size_t nth, const std::vector<gps_point> &samples) {
  std::vector<gps_point> kept;
  for (std::size_t k = 0; k < samples.size(); k += nth) kept.push_back(samples[k]);
  return kept;
}

const withheld_case withheld_cases[] = {
    {"a sound track", [] { return with_velocity_errors(flight_samples()); }, withheld::nothing},
    {"a gap", with_gap, withheld::gap},
    {"a velocity that is no number", with_endless_velocity, withheld::unsolvable},
    {"an accuracy that is no number", without_accuracy, withheld::unsolvable},
    {"a time that repeats", with_repeated_time, withheld::times_out_of_order},
    {"twice the stated errors", [] { return with_velocity_errors(flight_samples(), 2.5); }, withheld::contradiction},
    {"errors that are new in each sample", [] { return with_velocity_errors(flight_samples(), 1.0, 0.001); },
     withheld::white_velocity_noise},
    {"the same, 0.4 s apart", [] { return every(2, with_velocity_errors(flight_samples(), 1.0, 0.001)); },
     withheld::sparse_samples},
    {"a sample every 0.6 s", [] { return every(3, with_velocity_errors(flight_samples())); }, withheld::nothing},
    {"a sample every 0.8 s", [] { return every(4, with_velocity_errors(flight_samples())); }, withheld::sparse_samples},
};

TEST(run_check_test, gives_no_intervals_where_they_would_not_hold) {
  for (const withheld_case &c : withheld_cases) {
    SCOPED_TRACE(c.name);
    const swoop run = analysed(c.make());
    const run_check check = checked(run, few_draws);
    EXPECT_EQ(check.reason, c.expected);
    EXPECT_EQ(check_of(check, figure::turn_height).has_interval, c.expected == withheld::nothing);
    EXPECT_EQ(check.unordered, c.expected == withheld::times_out_of_order ? 1U : 0U);
    const bool is_drawn = c.expected != withheld::times_out_of_order && c.expected != withheld::unsolvable;
    EXPECT_EQ(check_of(check, figure::entry_gate_speed).has_interval, is_drawn);
    EXPECT_EQ(check_of(check, figure::entry_gate_speed).value, run.entry_gate_speed);
    EXPECT_EQ(check_of(checked(run, few_draws_anyway), figure::turn_height).has_interval, is_drawn);
  }
}

TEST(run_check_test, measures_the_gap) {
  EXPECT_NEAR(checked(analysed(with_gap()), few_draws).longest_gap, 1.0, 1e-12);
}

// Every third sample, so that a usual step takes 0.6 s; in straight flight one takes longer.
swoop slow_run(std::int64_t longer) {
  std::vector<gps_point> samples = every(3, with_velocity_errors(flight_samples()));
  for (std::size_t k = 200; k < samples.size(); ++k) samples[k].time += longer;
  return analysed(samples);
}

TEST(run_check_test, takes_1_6_usual_steps_of_a_slow_logger_for_no_gap) {
  EXPECT_EQ(checked(slow_run(350), few_draws).longest_gap, 0.0);
  EXPECT_NEAR(checked(slow_run(370), few_draws).longest_gap, 0.97, 1e-9);
}

// The pilot brakes between the two samples beside the gate; on which side of it is not recorded.
TEST(run_check_test, contains_a_bend_between_sparse_samples_beside_the_gate) {
  std::vector<gps_point> samples = every(4, with_velocity_errors(flight_samples()));
  for (std::size_t k = analysed(samples).entry_gate + 1; k < samples.size(); ++k) {
    samples[k].vel_ltp.x *= 0.8;
    samples[k].vel_ltp.y *= 0.8;
  }
  const swoop sparse = analysed(samples);
  const interval bend = bend_at_crossing(sparse, sparse.entry_gate);
  ASSERT_LT(bend.low, -0.9);
  ASSERT_GT(bend.high, 0.9);
  const interval range = check_of(checked(sparse, few_draws), figure::entry_gate_speed).range;
  EXPECT_LE(range.low, sparse.entry_gate_speed + bend.low);
  EXPECT_GE(range.high, sparse.entry_gate_speed + bend.high);
}

// Every seventh of 5 samples a second is 1.4 s after the one before. With a sample every 3 s, a gate speed was 10 mph off.
TEST(run_check_test, takes_every_step_of_more_than_1_6_seconds_for_a_gap) {
  const auto checked_every = [](std::size_t nth) {
    return checked(analysed(every(nth, with_velocity_errors(flight_samples()))), few_draws);
  };
  EXPECT_EQ(checked_every(7).longest_gap, 0.0);
  EXPECT_FALSE(check_of(checked_every(7), figure::entry_gate_speed).is_bounded);
  const run_check check = checked_every(9);
  EXPECT_NEAR(check.longest_gap, 1.8, 1e-9);
  EXPECT_NEAR(check.gate_gap, 1.8, 1e-9);
  EXPECT_EQ(check.reason, withheld::gap);
  EXPECT_TRUE(check_of(check, figure::entry_gate_speed).is_bounded);
}

TEST(run_check_test, bounds_what_was_crossed_in_a_gap) {
  const swoop whole = analysed(with_velocity_errors(flight_samples()));
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  samples.erase(samples.begin() + whole.entry_gate - 1, samples.begin() + whole.entry_gate + 4);
  const run_check check = checked(analysed(samples), few_draws);
  EXPECT_NEAR(check.gate_gap, 1.2, 1e-9);
  const figure_check &speed = check_of(check, figure::entry_gate_speed);
  EXPECT_TRUE(speed.is_bounded);
  EXPECT_FALSE(speed.has_interval);
  EXPECT_LT(speed.range.low, whole.entry_gate_speed);
  EXPECT_GT(speed.range.high, whole.entry_gate_speed);
  // One g over the gap.
  EXPECT_NEAR(speed.range.high - speed.range.low, 9.80665 * 1.2, 1e-9);
  EXPECT_TRUE(check_of(check, figure::distance_to_stop).has_interval);
}

// At the stop the logger goes on seeing a speed, and the pilot turns away 15 minutes later.
std::vector<gps_point> flight_that_stops_late() {
  return flight_samples({{4.0, 2.0, 0.0, 0.0}, {900.0, 2.0, 0.0, 0.0}, {1.0, 0.0, 0.0, 0.0}});
}

TEST(run_check_test, gives_up_where_too_much_of_the_track_matters) {
  const run_check check = checked(analysed(flight_that_stops_late()), few_draws_anyway);
  EXPECT_EQ(check.reason, withheld::too_many_samples);
  EXPECT_GT(check.samples, most_samples);
  EXPECT_EQ(check.draws, 0U);
  EXPECT_EQ(check.longest_gap, 0.0);
  EXPECT_FALSE(check_of(check, figure::entry_gate_speed).is_bounded);
}

TEST(run_check_test, bounds_what_was_crossed_in_a_gap_also_without_draws) {
  std::vector<gps_point> samples = flight_that_stops_late();
  const std::uint32_t gate = analysed(samples).entry_gate;
  samples.erase(samples.begin() + gate - 1, samples.begin() + gate + 4);
  const run_check check = checked(analysed(samples), few_draws);
  EXPECT_EQ(check.reason, withheld::too_many_samples);
  EXPECT_NEAR(check.longest_gap, 1.2, 1e-9);
  EXPECT_NEAR(check.gate_gap, 1.2, 1e-9);
  EXPECT_TRUE(check_of(check, figure::entry_gate_speed).is_bounded);
}

// The descent grows slowly for 4 s, falls by 0.4 m/s, one and a half standard deviations of the noise, and grows into
// the dive: the detectors find the turn at the fall.
TEST(run_check_test, reaches_to_a_turn_that_began_before_a_jolt) {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  const std::uint32_t turn = analysed(samples).top_of_turn;
  for (std::uint32_t k = 0; k < 20; ++k) samples[turn - 20 + k].vel_ltp.z = 6.0 + 0.025 * k;
  for (std::uint32_t k = 1; k <= 6; ++k) samples[turn - 20 - k].vel_ltp.z = 7.5;
  samples[turn].vel_ltp.z = 6.08;
  samples[turn + 1].vel_ltp.z = std::max(samples[turn + 1].vel_ltp.z, 6.2);
  const swoop run = analysed(samples);
  ASSERT_EQ(run.top_of_turn, turn);
  const run_check check = checked(run);
  const figure_check &time = check_of(check, figure::turn_time);
  EXPECT_NEAR(time.range.high, time.value + 4.0, 0.01);
  const figure_check &height = check_of(check, figure::turn_height);
  EXPECT_GE(height.range.high, run.track[turn - 20].pos_local.z);
}

// Positions shifted to the north for a time that begins at a sample, by at most so many metres; the velocities follow
// or not.
std::vector<gps_point> pulled_aside(std::uint32_t first, double seconds, double reach, bool is_followed) {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  constexpr double metres_per_degree = 111200.0;
  constexpr double turn = 6.283185307179586;
  const auto count = static_cast<std::uint32_t>(seconds / 0.2);
  for (std::uint32_t k = 0; k < count; ++k) {
    const double phase = turn * k / count;
    samples[first + k].pos_wgs84.x += reach * (1.0 - std::cos(phase)) / 2.0 / metres_per_degree;
    if (is_followed) samples[first + k].vel_ltp.x += reach / 2.0 * turn / seconds * std::sin(phase);
  }
  return samples;
}

TEST(run_check_test, finds_positions_pulled_aside_behind_the_stop) {
  const swoop run = analysed(with_velocity_errors(flight_samples()));
  const std::uint32_t behind_stop = run.stop + 3;
  const run_check sound = checked(run, {.draws = 0});
  const run_check pulled = checked(analysed(pulled_aside(behind_stop, 2.0, 10.0, false)), {.draws = 0});
  EXPECT_LT(sound.peak, 10.0);
  EXPECT_GT(pulled.peak, 10.0);
  EXPECT_EQ(pulled.contradiction, sound.contradiction);  // measured before the stop
}

// At a sample a second the velocities do not tell the way in a turn by 100 degrees a second.
TEST(run_check_test, takes_no_turn_between_samples_for_a_contradiction) {
  const swoop run =
      analysed(every(5, with_velocity_errors(flight_samples({{6.0, 0.0, 0.0, 0.0}, {20.0, 0.0, 0.0, 0.0}}, 100.0))));
  const run_check sound = checked(run, {.draws = 0});
  EXPECT_LT(sound.peak, 10.0);
  EXPECT_LT(sound.contradiction, 1.0);
}

// The pilot stands at the touchdown until the track ends.
TEST(run_check_test, gives_no_interval_of_a_touchdown_speed_between_sparse_samples) {
  swoop run = analysed(every(5, with_velocity_errors(flight_samples())));
  ++run.touchdown_time;
  const run_check check = checked(run, few_draws);
  EXPECT_TRUE(check_of(check, figure::touchdown_distance).has_interval);
  EXPECT_FALSE(check_of(check, figure::touchdown_speed).has_interval);
  EXPECT_TRUE(check_of(checked(run, few_draws_anyway), figure::touchdown_speed).has_interval);
}

// 10 m within 1.6 s are 77 m/s2 at the most, and as much the other way half a turn later.
TEST(run_check_test, measures_a_jerk_that_contradicts_nothing) {
  const std::uint32_t rollout = analysed(flight_samples()).rollout;
  const run_check sound = checked(analysed(with_velocity_errors(flight_samples())), {.draws = 0});
  const run_check pulled = checked(analysed(pulled_aside(rollout, 1.6, 10.0, true)), {.draws = 0});
  EXPECT_LT(sound.jerk, 60.0);
  EXPECT_GT(pulled.jerk, 100.0);
}

// Velocities one sample late.
TEST(run_check_test, finds_a_lag_and_takes_it_out) {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  for (std::size_t i = samples.size() - 1; i > 0; --i) samples[i].vel_ltp = samples[i - 1].vel_ltp;
  const run_check check = checked(analysed(samples), few_draws);
  EXPECT_NEAR(check.lag.horizontal, 0.2, 0.03);
  EXPECT_NEAR(check.lag.vertical, 0.2, 0.03);
  EXPECT_EQ(check.reason, withheld::nothing);
}

TEST(run_check_test, measures_noise_without_drawing) {
  const run_check check = checked(analysed(with_velocity_errors(flight_samples())), {.draws = 0});
  EXPECT_EQ(check.draws, 0U);
  EXPECT_NEAR(check.noise.ratio, 1.0, 0.35);
  EXPECT_NEAR(check.noise.velocity, 1.0, 0.35);
  EXPECT_FALSE(check_of(check, figure::entry_gate_speed).has_interval);
}

TEST(run_check_test, says_when_memory_is_short) {
  for (const std::uint32_t drawn : {3U, 0U}) {
    SCOPED_TRACE(drawn);
    const swoop run = analysed(drawn == 0 ? flight_that_stops_late() : with_velocity_errors(flight_samples()));
    const auto attempt = [&](std::size_t granted) {
      run_check check;
      error_slot error = nullptr;
      const allocation_limit limit(granted);
      check_run(run, {.draws = 3}, check, &error);
      EXPECT_EQ(check.draws, error == nullptr ? drawn : 0U);
      return error;
    };
    EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"failed to allocate memory for swoop"});
  }
}

}  // namespace
}  // namespace tarvel
