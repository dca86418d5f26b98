#include "check/reasons.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>

#include "support/checked_flight.h"

namespace tarvel {
namespace {

swoop sound_run(std::int32_t gate_type = gate_type_course) {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  for (gps_point &sample : samples) {
    sample.numsv = 14;
    sample.gpsfix = 3;
  }
  return analysed(samples, gate_type);
}

run_check check_of_run(const swoop &run) {
  run_check check;
  error_slot error = nullptr;
  check_run(run, {.draws = 60}, check, &error);
  EXPECT_STREQ(error, nullptr);
  return check;
}

bool has(const run_verdict &verdict, reason_code code) {
  const auto reasons = reasons_of(verdict);
  return std::any_of(reasons.begin(), reasons.end(), [&](const reason &each) { return each.code == code; });
}

// A change to a sound run and its check. The reason that follows is the only one, except for the note that the
// touchdown is the stop.
struct reason_case {
  reason_code code;
  severity worst;
  void (*change)(swoop &run, run_check &check);
};

gps_point &flown(swoop &run) { return run.track[run.rollout]; }

const reason_case reason_cases[] = {
    {reason_code::few_satellites, severity::doubtful, [](swoop &r, run_check &) { flown(r).numsv = 6; }},
    {reason_code::no_satellites, severity::unusable, [](swoop &r, run_check &) { flown(r).numsv = 3; }},
    {reason_code::fix_lost, severity::unusable, [](swoop &r, run_check &) { flown(r).gpsfix = 2; }},
    {reason_code::poor_accuracy, severity::doubtful, [](swoop &r, run_check &) { flown(r).sacc = 1.1F; }},
    {reason_code::poor_accuracy, severity::doubtful, [](swoop &r, run_check &) { flown(r).hacc = 6.0F; }},
    {reason_code::no_accuracy, severity::unusable, [](swoop &r, run_check &) { flown(r).vacc = 80.0F; }},
    {reason_code::no_accuracy, severity::unusable,
     [](swoop &r, run_check &) { flown(r).sacc = static_cast<float>(not_a_number); }},
    {reason_code::clock_steps_back, severity::unusable, [](swoop &r, run_check &) { flown(r).time -= 500; }},
    {reason_code::times_repeat, severity::doubtful, [](swoop &r, run_check &) { flown(r).time -= 200; }},
    {reason_code::contradiction, severity::doubtful, [](swoop &, run_check &c) { c.contradiction = 1.6; }},
    {reason_code::no_agreement, severity::unusable, [](swoop &, run_check &c) { c.contradiction = 3.1; }},
    {reason_code::passing_contradiction, severity::doubtful, [](swoop &, run_check &c) { c.peak = 10.1; }},
    {reason_code::impossible_jerk, severity::doubtful, [](swoop &, run_check &c) { c.jerk = 100.1; }},
    {reason_code::noise_beyond_statement, severity::note, [](swoop &, run_check &c) { c.noise.ratio = 1.6; }},
    {reason_code::noise_far_beyond_statement, severity::doubtful, [](swoop &, run_check &c) { c.noise.ratio = 3.1; }},
    {reason_code::white_noise, severity::doubtful,
     [](swoop &, run_check &c) { c.reason = withheld::white_velocity_noise; }},
    {reason_code::sparse_samples, severity::note, [](swoop &, run_check &c) { c.reason = withheld::sparse_samples; }},
    {reason_code::times_out_of_order, severity::doubtful,
     [](swoop &, run_check &c) { c.reason = withheld::times_out_of_order; }},
    {reason_code::not_drawn, severity::doubtful, [](swoop &, run_check &c) { c.reason = withheld::too_many_samples; }},
    {reason_code::unsolvable, severity::doubtful, [](swoop &, run_check &c) { c.reason = withheld::unsolvable; }},
    {reason_code::draws_fail, severity::doubtful, [](swoop &, run_check &c) { c.failed = 0.06; }},
    {reason_code::wide_gate_speed, severity::doubtful,
     [](swoop &, run_check &c) { c.figures[index_of(figure::entry_gate_speed)].range.high += 2.5; }},
    {reason_code::wide_distance, severity::doubtful,
     [](swoop &, run_check &c) { c.figures[index_of(figure::distance_to_stop)].range.low -= 15.0; }},
    {reason_code::wide_carve_time, severity::doubtful,
     [](swoop &, run_check &c) {
       c.figures[index_of(figure::carve_time)] = {2.9, true, {2.0, 3.6}, 0.0};
     }},
    {reason_code::figures_missing, severity::doubtful,
     [](swoop &, run_check &c) { c.figures[index_of(figure::entry_gate_speed)].missing = 0.1; }},
    {reason_code::rotation_undecided, severity::doubtful, [](swoop &, run_check &c) { c.other_hand = 0.03; }},
    {reason_code::rotation_uncertain, severity::note, [](swoop &, run_check &c) { c.other_degrees = 0.4; }},
    {reason_code::horizontal_lag, severity::note, [](swoop &, run_check &c) { c.lag.horizontal = 0.14; }},
    {reason_code::vertical_lag, severity::note, [](swoop &, run_check &c) { c.lag.vertical = -0.14; }},
    {reason_code::no_dive, severity::unusable,
     [](swoop &r, run_check &) { r.track[r.max_vert_speed].vel_local.z = -from_mph_below(25.0); }},
    {reason_code::too_fast_for_canopy, severity::unusable,
     [](swoop &r, run_check &) { r.track[r.max_vert_speed].vel_local.z = -from_mph_above(110.0); }},
    {reason_code::ends_in_air, severity::unusable,
     [](swoop &r, run_check &) { r.track[r.track_len - 1].pos_local.z -= 40.0; }},
    {reason_code::several_runs, severity::doubtful,
     [](swoop &r, run_check &) { r.track[r.track_len - 2].pos_local.z = 1000.0; }},
    {reason_code::exit_of_another_run, severity::unusable,
     [](swoop &r, run_check &) { r.track[r.top_of_turn - 1].pos_local.z = 10.0; }},
    {reason_code::ends_early, severity::doubtful, [](swoop &r, run_check &) { r.track_len = r.stop + 1; }},
    {reason_code::beside_the_gate, severity::doubtful, [](swoop &r, run_check &) { r.entry_gate_ypos = -5.1; }},
    {reason_code::heights_differ, severity::note, [](swoop &r, run_check &) { r.track[r.stop].pos_local.z = -15.0; }},
    {reason_code::gate_not_crossed, severity::doubtful, [](swoop &r, run_check &) { r.entry_gate = 0; }},
    {reason_code::far_from_gate, severity::unusable,
     [](swoop &r, run_check &) {
       r.entry_gate = 0;
       for (std::uint32_t i = r.rollout; i <= r.stop; ++i) r.track[i].pos_local.y += 101.0;
     }},
};

TEST(reasons_test, are_none_for_a_sound_run) {
  for (const std::int32_t gate_type : {gate_type_course, gate_type_implicit}) {
    SCOPED_TRACE(gate_type);
    const swoop run = sound_run(gate_type);
    const run_verdict verdict = judge_run(run, check_of_run(run));
    EXPECT_EQ(verdict.worst, severity::note);
    ASSERT_EQ(verdict.count, 1U);
    EXPECT_EQ(verdict.reasons[0].code, reason_code::touchdown_is_stop);
  }
}

TEST(reasons_test, follow_from_what_is_measured) {
  const run_check sound = check_of_run(sound_run());
  for (const reason_case &c : reason_cases) {
    SCOPED_TRACE(std::string(rule_of(c.code).name));
    swoop run = sound_run();
    run_check check = sound;
    c.change(run, check);
    const run_verdict verdict = judge_run(run, check);
    EXPECT_TRUE(has(verdict, c.code));
    EXPECT_EQ(verdict.worst, c.worst);
    EXPECT_EQ(verdict.count, 2U);
  }
}

// A value on the limit, for which the reason is not given, the next one beyond, and where to put them.
struct limit_case {
  reason_code code;
  double at;
  double beyond;
  void (*set)(swoop &run, run_check &check, double value);
};

double above(double limit) { return std::nextafter(limit, 1e9); }

// Of a single-precision field.
double just_above(float limit) { return static_cast<double>(std::nextafter(limit, 1e9F)); }

void widen(run_check &check, figure which, double width) {
  check.figures[index_of(which)] = {0.0, true, {0.0, width}, 0.0};
}

// The pilot has come back from the stop to where the track ends.
void end_at_touchdown(swoop &run, const vec3 &velocity) {
  gps_point &last = run.track[run.track_len - 1];
  run.touchdown_time = run.track[run.stop].time - 1000;
  run.touchdown_distance = last.pos_local.x;
  last.vel_local = velocity;
}

const limit_case limit_cases[] = {
    {reason_code::gap, 0.5, above(0.5), [](swoop &, run_check &c, double v) { c.longest_gap = v; }},
    {reason_code::gap_at_gate, 0.5, above(0.5), [](swoop &, run_check &c, double v) { c.gate_gap = v; }},
    {reason_code::few_satellites, 7.0, 6.0,
     [](swoop &r, run_check &, double v) { flown(r).numsv = static_cast<std::uint8_t>(v); }},
    {reason_code::no_satellites, 4.0, 3.0,
     [](swoop &r, run_check &, double v) { flown(r).numsv = static_cast<std::uint8_t>(v); }},
    {reason_code::fix_lost, 3.0, 2.0,
     [](swoop &r, run_check &, double v) { flown(r).gpsfix = static_cast<std::uint8_t>(v); }},
    {reason_code::poor_accuracy, 1.0, just_above(1.0F),
     [](swoop &r, run_check &, double v) { flown(r).sacc = static_cast<float>(v); }},
    {reason_code::poor_accuracy, 5.0, just_above(5.0F),
     [](swoop &r, run_check &, double v) { flown(r).hacc = static_cast<float>(v); }},
    {reason_code::poor_accuracy, 8.0, just_above(8.0F),
     [](swoop &r, run_check &, double v) { flown(r).vacc = static_cast<float>(v); }},
    {reason_code::no_accuracy, 3.0, just_above(3.0F),
     [](swoop &r, run_check &, double v) { flown(r).sacc = static_cast<float>(v); }},
    {reason_code::contradiction, 1.5, above(1.5), [](swoop &, run_check &c, double v) { c.contradiction = v; }},
    {reason_code::no_agreement, 3.0, above(3.0), [](swoop &, run_check &c, double v) { c.contradiction = v; }},
    {reason_code::passing_contradiction, 10.0, above(10.0), [](swoop &, run_check &c, double v) { c.peak = v; }},
    {reason_code::impossible_jerk, 100.0, above(100.0), [](swoop &, run_check &c, double v) { c.jerk = v; }},
    {reason_code::noise_beyond_statement, 1.5, above(1.5), [](swoop &, run_check &c, double v) { c.noise.ratio = v; }},
    {reason_code::noise_far_beyond_statement, 3.0, above(3.0),
     [](swoop &, run_check &c, double v) { c.noise.ratio = v; }},
    {reason_code::draws_fail, 0.05, above(0.05), [](swoop &, run_check &c, double v) { c.failed = v; }},
    {reason_code::wide_gate_speed, 2.5, above(2.5),
     [](swoop &, run_check &c, double v) { widen(c, figure::entry_gate_speed, v); }},
    {reason_code::wide_distance, 15.0, above(15.0),
     [](swoop &, run_check &c, double v) { widen(c, figure::distance_to_stop, v); }},
    {reason_code::wide_carve_time, 1.5, above(1.5),
     [](swoop &, run_check &c, double v) { widen(c, figure::carve_time, v); }},
    {reason_code::figures_missing, 0.05, above(0.05),
     [](swoop &, run_check &c, double v) { c.figures[index_of(figure::entry_gate_speed)].missing = v; }},
    {reason_code::rotation_undecided, 0.025, above(0.025), [](swoop &, run_check &c, double v) { c.other_hand = v; }},
    {reason_code::rotation_uncertain, 0.1, above(0.1), [](swoop &, run_check &c, double v) { c.other_degrees = v; }},
    {reason_code::horizontal_lag, 0.09, above(0.09), [](swoop &, run_check &c, double v) { c.lag.horizontal = v; }},
    {reason_code::horizontal_lag, -0.09, -above(0.09), [](swoop &, run_check &c, double v) { c.lag.horizontal = v; }},
    {reason_code::vertical_lag, 0.09, above(0.09), [](swoop &, run_check &c, double v) { c.lag.vertical = v; }},
    {reason_code::no_dive, from_mph(25.0), from_mph_below(25.0),
     [](swoop &r, run_check &, double v) { r.track[r.max_vert_speed].vel_local.z = -v; }},
    {reason_code::too_fast_for_canopy, from_mph(110.0), from_mph_above(110.0),
     [](swoop &r, run_check &, double v) { r.track[r.max_vert_speed].vel_local.z = -v; }},
    {reason_code::ends_in_air, from_feet(100.0), from_feet_above(100.0),
     [](swoop &r, run_check &, double v) {
       for (std::uint32_t i = r.top_of_turn; i < r.track_len; ++i) r.track[i].pos_local.z = 0.0;
       r.track[r.stop].pos_local.z = v;
     }},
    {reason_code::levelled_slow, from_mph(25.0), from_mph_below(25.0),
     [](swoop &r, run_check &, double v) {
       r.track[r.bottom_of_turn].vel_local = {v, 0.0, -1.0};
     }},
    {reason_code::touchdown_moves, from_mph(2.0), from_mph_above(2.0),
     [](swoop &r, run_check &, double v) {
       end_at_touchdown(r, {0.0, v, 0.5});
     }},
    {reason_code::ends_early, 500.0, 499.0,
     [](swoop &r, run_check &, double v) {
       r.track_len = r.stop + 2;
       r.track[r.stop + 1].time = r.track[r.stop].time + static_cast<std::int64_t>(v);
     }},
    {reason_code::several_runs, from_feet_below(3000.0), from_feet(3000.0),
     [](swoop &r, run_check &, double v) { r.track[r.track_len - 2].pos_local.z = v; }},
    {reason_code::exit_of_another_run, from_feet(200.0), from_feet_below(200.0),
     [](swoop &r, run_check &, double v) { r.track[r.top_of_turn - 1].pos_local.z = v; }},
    {reason_code::beside_the_gate, 5.0, above(5.0), [](swoop &r, run_check &, double v) { r.entry_gate_ypos = v; }},
    {reason_code::beside_the_gate, -5.0, -above(5.0), [](swoop &r, run_check &, double v) { r.entry_gate_ypos = v; }},
    {reason_code::heights_differ, from_feet(30.0), from_feet_above(30.0),
     [](swoop &r, run_check &, double v) { r.track[r.stop].pos_local.z = v; }},
    {reason_code::heights_differ, -from_feet(30.0), -from_feet_above(30.0),
     [](swoop &r, run_check &, double v) { r.track[r.stop].pos_local.z = v; }},
    {reason_code::far_from_gate, 100.0, above(100.0),
     [](swoop &r, run_check &, double v) {
       r.entry_gate = 0;
       for (std::uint32_t i = r.rollout; i <= r.stop; ++i) r.track[i].pos_local = {v, 0.0, 0.0};
     }},
};

TEST(reasons_test, tell_the_distance_from_the_gate_on_either_side) {
  for (const double offset : {-5.5, 5.5}) {
    swoop run = sound_run();
    run.entry_gate_ypos = offset;
    const run_verdict verdict = judge_run(run, check_of_run(sound_run()));
    ASSERT_TRUE(has(verdict, reason_code::beside_the_gate));
    EXPECT_EQ(verdict.reasons[0].measured, 5.5);
  }
}

TEST(reasons_test, compare_the_heights_of_course_and_run_on_the_ground) {
  swoop run = sound_run();
  run.track[run.stop].pos_local.z = from_feet_above(100.0);
  EXPECT_TRUE(has(judge_run(run, check_of_run(run)), reason_code::ends_in_air));
  EXPECT_FALSE(has(judge_run(run, check_of_run(run)), reason_code::heights_differ));
  swoop without_course = sound_run(gate_type_implicit);
  without_course.track[without_course.stop].pos_local.z = -15.0;
  EXPECT_FALSE(has(judge_run(without_course, check_of_run(without_course)), reason_code::heights_differ));
}

// Between sparse samples the contradiction is not that of noise.
TEST(reasons_test, do_not_doubt_the_stated_noise_of_sparse_samples) {
  const swoop run = sound_run();
  run_check check = check_of_run(run);
  check.reason = withheld::sparse_samples;
  check.step = 1.0;
  check.noise.ratio = 2.0;
  const run_verdict verdict = judge_run(run, check);
  EXPECT_EQ(verdict.worst, severity::note);
  EXPECT_FALSE(has(verdict, reason_code::noise_beyond_statement));
  ASSERT_TRUE(has(verdict, reason_code::sparse_samples));
  EXPECT_EQ(verdict.reasons[0].measured, 1.0);
}

TEST(reasons_test, are_given_just_beyond_their_limits) {
  const run_check sound = check_of_run(sound_run());
  for (const limit_case &c : limit_cases) {
    SCOPED_TRACE(std::string(rule_of(c.code).name));
    for (const double value : {c.at, c.beyond}) {
      swoop run = sound_run();
      run_check check = sound;
      c.set(run, check, value);
      EXPECT_EQ(has(judge_run(run, check), c.code), value == c.beyond) << value;
    }
  }
}

// A recording may begin below the height to which a later descent must have climbed, but not below the pattern's.
TEST(reasons_test, count_a_descent_that_begins_with_the_recording) {
  for (const auto &[height, is_descent] :
       {std::pair(from_feet(2500.0), true), std::pair(from_feet_below(2500.0), false)}) {
    swoop run = sound_run();
    for (std::uint32_t i = 0; i < run.top_of_turn; ++i) run.track[i].pos_local.z = from_feet(2400.0);
    run.track[0].pos_local.z = height;
    run.track[run.track_len - 2].pos_local.z = 1000.0;
    EXPECT_EQ(has(judge_run(run, run_check()), reason_code::several_runs), is_descent);
  }
}

TEST(reasons_test, tell_a_gap_and_one_at_the_gate) {
  std::vector<gps_point> samples = with_velocity_errors(flight_samples());
  for (gps_point &sample : samples) sample.numsv = 14;
  std::vector<gps_point> in_the_turn = samples;
  in_the_turn.erase(in_the_turn.begin() + 655, in_the_turn.begin() + 661);
  swoop run = analysed(in_the_turn);
  run_verdict verdict = judge_run(run, check_of_run(run));
  EXPECT_EQ(verdict.worst, severity::doubtful);
  EXPECT_TRUE(has(verdict, reason_code::gap));

  std::vector<gps_point> at_the_gate = samples;
  at_the_gate.erase(at_the_gate.begin() + 681, at_the_gate.begin() + 689);
  run = analysed(at_the_gate);
  verdict = judge_run(run, check_of_run(run));
  EXPECT_EQ(verdict.worst, severity::unusable);
  ASSERT_TRUE(has(verdict, reason_code::gap_at_gate));
  EXPECT_NEAR(verdict.reasons[1].measured, 1.8, 1e-9);
}

TEST(reasons_test, count_what_was_recorded_before_the_clock_was_set_back) {
  swoop run = sound_run();
  const run_check check = check_of_run(run);
  for (std::uint32_t i = run.track_len - 5; i < run.track_len; ++i) run.track[i].time -= 86400000;
  EXPECT_FALSE(has(judge_run(run, check), reason_code::ends_early));
  run.track[run.stop + 1].time = run.track[run.track_len - 1].time;
  run.track_len = run.stop + 2;
  const run_verdict verdict = judge_run(run, check);
  ASSERT_TRUE(has(verdict, reason_code::ends_early));
  EXPECT_EQ(verdict.reasons[0].measured, 0.0);
}

// The gate is that of the first run, the turn that of the second, which dives faster. The clock may have been set back
// in between.
TEST(reasons_test, tell_the_gate_of_another_run) {
  for (const std::int64_t pause : {3600000, -3600000}) {
    SCOPED_TRACE(pause);
    std::vector<gps_point> samples = with_velocity_errors(flight_samples());
    const std::size_t first_run = samples.size();
    for (gps_point sample : with_velocity_errors(flight_samples())) {
      sample.time += pause;
      sample.vel_ltp.z *= 1.1;
      samples.push_back(sample);
    }
    const swoop run = analysed(samples, gate_type_implicit);
    ASSERT_GT(run.top_of_turn, first_run);
    const run_verdict verdict = judge_run(run, run_check());
    EXPECT_TRUE(has(verdict, reason_code::gate_of_another_run));
    EXPECT_EQ(verdict.worst, severity::unusable);
  }
}

TEST(reasons_test, doubt_distances_of_who_levels_out_high) {
  swoop run = sound_run(gate_type_implicit);
  run.bottom_zpos = from_feet_above(15.0);
  EXPECT_TRUE(has(judge_run(run, run_check()), reason_code::levelled_high));
  run.bottom_zpos = from_feet(15.0);
  EXPECT_FALSE(has(judge_run(run, run_check()), reason_code::levelled_high));
}

TEST(reasons_test, do_not_doubt_a_touchdown_that_a_judge_has_timed) {
  swoop run = sound_run();
  end_at_touchdown(run, {3.0, 0.0, 0.0});
  EXPECT_TRUE(has(judge_run(run, run_check()), reason_code::touchdown_moves));
  run.touchdown_distance += 5.0;
  EXPECT_FALSE(has(judge_run(run, run_check()), reason_code::touchdown_moves));
}

// A run without a course that lands straight, 65 ft up, behind another run, in a track that ends early.
TEST(reasons_test, come_in_the_order_of_their_codes) {
  swoop run = sound_run(gate_type_implicit);
  run.track[run.max_vert_speed].vel_local.z = -from_mph_below(25.0);
  run.track[run.bottom_of_turn].vel_local = {from_mph_below(25.0), 0.0, -1.0};
  run.track[run.top_of_turn - 1].pos_local.z = 10.0;
  run.bottom_zpos = from_feet(65.0);
  run.track_len = run.stop + 1;
  run_check check;
  check.longest_gap = 2.0;
  check.jerk = 200.0;
  check.other_hand = 0.5;
  check.lag.vertical = 0.2;
  const run_verdict verdict = judge_run(run, check);
  const auto reasons = reasons_of(verdict);
  EXPECT_GE(reasons.size(), 8U);
  EXPECT_TRUE(
      std::is_sorted(reasons.begin(), reasons.end(), [](const reason &a, const reason &b) { return a.code < b.code; }));
}

TEST(reasons_test, tell_from_how_many_samples_on_nothing_is_drawn) {
  EXPECT_EQ(rule_of(reason_code::not_drawn).limit, most_samples);
}

TEST(reasons_test, have_names_of_their_own) {
  std::set<std::string_view> names;
  for (std::size_t i = 0; i < reason_count; ++i) {
    const reason_rule &rule = rule_of(static_cast<reason_code>(i));
    EXPECT_EQ(static_cast<std::size_t>(rule.code), i);
    EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
  }
}

}  // namespace
}  // namespace tarvel
