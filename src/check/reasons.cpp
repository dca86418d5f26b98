#include "check/reasons.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/time.h"
#include "support/units.h"
#include "swoop/implicit_gate.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// In the order of the codes. A limit of 0 is passed by every figure greater than 0.
constexpr std::array<reason_rule, reason_count> rules = {{
    // s, from 15 s before the turn to the stop. Half a second at 30 m/s are 15 m: more than the turn's start moves by
    // noise.
    {reason_code::gap, "gap", severity::doubtful, 0.5},
    // s. What was flown between the samples on either side of the gate is not in the track.
    {reason_code::gap_at_gate, "gap-at-gate", severity::unusable, 0.5},
    // Samples whose time is earlier than that of the sample before.
    {reason_code::clock_steps_back, "clock-steps-back", severity::unusable, 0.0},
    {reason_code::times_repeat, "times-repeat", severity::doubtful, 0.0},
    // The same of all samples that the figures depend on: from 15 s before the turn on, and around exit and pattern
    // entry. Flights are drawn along times that increase.
    {reason_code::times_out_of_order, "times-out-of-order", severity::doubtful, 0.0},
    // Samples without a fix in three dimensions, when the logger records the kind of fix.
    {reason_code::fix_lost, "fix-lost", severity::unusable, 0.0},
    // Satellites: below seven the accuracy depends on each of them; below four there is no position.
    {reason_code::few_satellites, "few-satellites", severity::doubtful, 7.0},
    {reason_code::no_satellites, "no-satellites", severity::unusable, 4.0},
    // The worst stated accuracy, divided by 1 m/s for the speed, by 5 m for the horizontal position, by 8 m for the
    // height. Loggers in order state less than half of these; at three times as much the gate speed is known to 3 m/s.
    {reason_code::poor_accuracy, "poor-accuracy", severity::doubtful, 1.0},
    {reason_code::no_accuracy, "no-accuracy", severity::unusable, 3.0},
    // m, the 95 % quantile over a second: 0.1 to 0.4 in tracks with little noise, 3.6 to 8.6 in tracks of a logger at
    // rest whose positions or speeds are those of a swoop.
    {reason_code::contradiction, "contradiction", severity::doubtful, 1.5},
    {reason_code::no_agreement, "no-agreement", severity::unusable, 3.0},
    // The greatest contradiction along an axis over 0.4, 1 or 3 s, divided by the median. Noise that lasts reached 9 in
    // 1,000 runs; a second of signals that a wall has reflected gives more.
    {reason_code::passing_contradiction, "passing-contradiction", severity::doubtful, 10.0},
    // m/s3: from nothing to 4 g within 0.4 s. Simulated swoops with their noise reach 55.
    {reason_code::impossible_jerk, "impossible-jerk", severity::doubtful, 100.0},
    // The contradiction over a second, divided by the one that the stated accuracy implies. The intervals follow the
    // measured noise; above the lower limit the phases get none. A logger whose errors are three times the stated ones
    // does not notice bad reception.
    {reason_code::noise_beyond_statement, "noise-beyond-statement", severity::note, 1.5},
    {reason_code::noise_far_beyond_statement, "noise-far-beyond-statement", severity::doubtful, 3.0},
    {reason_code::white_noise, "white-noise", severity::doubtful, 0.0},
    // s between samples: farther apart, the velocities of a flight differ as much as velocities with white noise.
    {reason_code::sparse_samples, "sparse-samples", severity::note, 0.3},
    // Samples that the figures depend on. Drawing more takes longer than half a second.
    {reason_code::not_drawn, "not-drawn", severity::doubtful, 4000.0},
    // The same, when there are infinite or absurd numbers among them.
    {reason_code::unsolvable, "unsolvable", severity::doubtful, 0.0},
    // The part of the draws whose analysis fails, or that lack a score that the run has. An interval leaves out one
    // draw in twenty as well.
    {reason_code::draws_fail, "draws-fail", severity::doubtful, 0.05},
    // m/s, m and s between the ends of the interval: more than four times the median widths of simulated runs, 0.6 m/s,
    // 3.3 m and 0.3 s.
    {reason_code::wide_gate_speed, "wide-gate-speed", severity::doubtful, 2.5},
    {reason_code::wide_distance, "wide-distance", severity::doubtful, 15.0},
    {reason_code::wide_carve_time, "wide-carve-time", severity::doubtful, 1.5},
    {reason_code::figures_missing, "figures-missing", severity::doubtful, 0.05},
    // The part of the draws that turn the other way round: the side of the turn decides what it counts.
    {reason_code::rotation_undecided, "rotation-undecided", severity::doubtful, 0.025},
    // The part of the draws that turn by 45 degrees more or less. The start of one turn in fifty is found late; the
    // interval of the degrees contains the earlier start, and no score depends on them.
    {reason_code::rotation_uncertain, "rotation-uncertain", severity::note, 0.1},
    // s. On half of the loggers the velocity is late by less. A lag moves heights; the check removes it from the draws.
    {reason_code::horizontal_lag, "horizontal-lag", severity::note, 0.09},
    {reason_code::vertical_lag, "vertical-lag", severity::note, 0.09},
    // mph: a canopy in straight flight descends more slowly than 25, the limit that the turn is found by.
    {reason_code::no_dive, "no-dive", severity::unusable, 25.0},
    // mph: no canopy dives faster, but a pilot in free fall does.
    {reason_code::too_fast_for_canopy, "too-fast-for-canopy", severity::unusable, 110.0},
    // mph over the ground at the end of the rollout: straight landings are as slow, and flights that are no swoops.
    {reason_code::levelled_slow, "levelled-slow", severity::doubtful, 25.0},
    // ft of the stop above the gate, or above the lowest point from the turn to the end of the track.
    {reason_code::ends_in_air, "ends-in-air", severity::unusable, 100.0},
    // s recorded after the stop: only they show that the pilot stood.
    {reason_code::ends_early, "ends-early", severity::doubtful, 0.5},
    // Descents through 2,500 ft after a climb.
    {reason_code::several_runs, "several-runs", severity::doubtful, 1.0},
    // ft: a pilot so low between the exit and the turn had landed.
    {reason_code::exit_of_another_run, "exit-of-another-run", severity::unusable, 200.0},
    // s to the turn from the landing at which the gate of a run without a course is put. A landing before the turn
    // ended another run.
    {reason_code::gate_of_another_run, "gate-of-another-run", severity::unusable, 0.0},
    // ft above the ground at the end of the rollout: from higher up, the distance flown level is not that of the swoop.
    {reason_code::levelled_high, "levelled-high", severity::doubtful, 15.0},
    {reason_code::gate_not_crossed, "gate-not-crossed", severity::doubtful, 0.0},
    // m between the gate and the nearest sample of the swoop: farther away, the course is not that of the run.
    {reason_code::far_from_gate, "far-from-gate", severity::unusable, 100.0},
    // m from the gate's centre; the gate is 10 m wide.
    {reason_code::beside_the_gate, "beside-the-gate", severity::doubtful, 5.0},
    // ft between the heights of the stop and of the course's gate: the logger's error of one recording is smaller. The
    // scores do not depend on heights.
    {reason_code::heights_differ, "heights-differ", severity::note, 30.0},
    // mph at the last sample, whose place is taken for the touchdown: a pilot who walks has not come back to it yet.
    {reason_code::touchdown_moves, "touchdown-moves", severity::doubtful, 2.0},
    {reason_code::touchdown_is_stop, "touchdown-is-stop", severity::note, 0.0},
}};

// The accuracies that count as 1.
constexpr float usual_speed_accuracy = 1.0F;
constexpr float usual_horizontal_accuracy = 5.0F;
constexpr float usual_vertical_accuracy = 8.0F;

constexpr double pattern_height_feet = 2500.0;
constexpr double climbed_height_feet = 3000.0;  // a descent counts again after a climb to here
constexpr std::uint8_t fix_3d = 3;

void add(run_verdict &verdict, reason_code code, double measured) {
  verdict.reasons[verdict.count++] = {code, measured};
  verdict.worst = std::max(verdict.worst, rule_of(code).weight);
}

void add_above(run_verdict &verdict, reason_code code, double measured) {
  if (measured > rule_of(code).limit) add(verdict, code, measured);
}

void add_below(run_verdict &verdict, reason_code code, double measured) {
  if (measured < rule_of(code).limit) add(verdict, code, measured);
}

std::span<const gps_point> flown_samples(const swoop &run) { return samples_of(run, {run.top_of_turn, run.stop + 1}); }

double seconds_between(const gps_point &a, const gps_point &b) {
  return static_cast<double>(elapsed(a.time, b.time)) / 1000.0;
}

void judge_times(const swoop &run, const run_check &check, run_verdict &verdict) {
  const std::span<const gps_point> samples = flown_samples(run);
  double back = 0.0;
  double repeated = 0.0;
  for (std::size_t k = 1; k < samples.size(); ++k) {
    const double step = seconds_between(samples[k - 1], samples[k]);
    if (step < 0.0) ++back;
    if (step == 0.0) ++repeated;
  }
  add_above(verdict, reason_code::gap, check.longest_gap);
  add_above(verdict, reason_code::gap_at_gate, check.gate_gap);
  add_above(verdict, reason_code::clock_steps_back, back);
  add_above(verdict, reason_code::times_repeat, repeated);
  if (check.reason == withheld::times_out_of_order && back + repeated == 0.0) {
    add(verdict, reason_code::times_out_of_order, check.unordered);
  }
}

void judge_reception(const swoop &run, run_verdict &verdict) {
  float accuracy = 0.0F;
  double satellites = infinity;
  double lost = 0.0;
  bool tells_fix = false;
  for (const gps_point &sample : flown_samples(run)) {
    for (const float part : {sample.sacc / usual_speed_accuracy, sample.hacc / usual_horizontal_accuracy,
                             sample.vacc / usual_vertical_accuracy}) {
      // A NaN counts as no accuracy at all.
      accuracy = std::isnan(part) ? std::numeric_limits<float>::infinity() : std::max(accuracy, part);
    }
    satellites = std::min(satellites, static_cast<double>(sample.numsv));
    tells_fix = tells_fix || sample.gpsfix >= fix_3d;
    if (sample.gpsfix < fix_3d) ++lost;
  }
  if (tells_fix) add_above(verdict, reason_code::fix_lost, lost);
  if (satellites >= rule_of(reason_code::no_satellites).limit) {
    add_below(verdict, reason_code::few_satellites, satellites);
  } else {
    add(verdict, reason_code::no_satellites, satellites);
  }
  const auto worst = static_cast<double>(accuracy);
  if (worst <= rule_of(reason_code::no_accuracy).limit) {
    add_above(verdict, reason_code::poor_accuracy, worst);
  } else {
    add(verdict, reason_code::no_accuracy, worst);
  }
}

void judge_noise(const run_check &check, run_verdict &verdict) {
  const bool is_false = check.contradiction > rule_of(reason_code::no_agreement).limit;
  if (!is_false) add_above(verdict, reason_code::contradiction, check.contradiction);
  add_above(verdict, reason_code::no_agreement, check.contradiction);
  add_above(verdict, reason_code::passing_contradiction, check.peak);
  add_above(verdict, reason_code::impossible_jerk, check.jerk);
  const bool is_far_beyond = check.noise.ratio > rule_of(reason_code::noise_far_beyond_statement).limit;
  const bool is_sparse = check.reason == withheld::sparse_samples;
  if (!is_far_beyond && !is_sparse) add_above(verdict, reason_code::noise_beyond_statement, check.noise.ratio);
  add_above(verdict, reason_code::noise_far_beyond_statement, check.noise.ratio);
  if (check.reason == withheld::white_velocity_noise) add(verdict, reason_code::white_noise, check.roughness);
  if (is_sparse) add(verdict, reason_code::sparse_samples, check.step);
  if (check.reason == withheld::too_many_samples) add(verdict, reason_code::not_drawn, check.samples);
  if (check.reason == withheld::unsolvable) add(verdict, reason_code::unsolvable, check.samples);
}

double width_of(const run_check &check, figure which) {
  const figure_check &each = check_of(check, which);
  return each.has_interval ? each.range.high - each.range.low : 0.0;
}

void judge_draws(const run_check &check, run_verdict &verdict) {
  if (check.draws == 0) return;
  add_above(verdict, reason_code::draws_fail, check.failed);
  add_above(verdict, reason_code::wide_gate_speed, width_of(check, figure::entry_gate_speed));
  add_above(verdict, reason_code::wide_distance, width_of(check, figure::distance_to_stop));
  add_above(verdict, reason_code::wide_carve_time, width_of(check, figure::carve_time));
  double most_missing = 0.0;
  for (const figure which : {figure::entry_gate_speed, figure::carve_time}) {
    const figure_check &each = check_of(check, which);
    if (std::isnan(each.value)) continue;
    most_missing = std::max(most_missing, each.missing - check.failed);
  }
  add_above(verdict, reason_code::figures_missing, most_missing);
  add_above(verdict, reason_code::rotation_undecided, check.other_hand);
  add_above(verdict, reason_code::rotation_uncertain, check.other_degrees);
}

void judge_lag(const run_check &check, run_verdict &verdict) {
  if (std::fabs(check.lag.horizontal) > rule_of(reason_code::horizontal_lag).limit) {
    add(verdict, reason_code::horizontal_lag, check.lag.horizontal);
  }
  if (std::fabs(check.lag.vertical) > rule_of(reason_code::vertical_lag).limit) {
    add(verdict, reason_code::vertical_lag, check.lag.vertical);
  }
}

// The number of descents through 2,500 ft; the least heights between the exit and the turn and from the turn on, ft.
struct descents {
  double count = 0.0;
  double lowest_before_turn = infinity;
  double lowest_from_turn_on = infinity;
};

descents descents_of(const swoop &run) {
  descents found;
  bool was_high = false;
  for (std::uint32_t i = 0; i < run.track_len; ++i) {
    const double height = height_feet(run.track[i]);
    if (height >= climbed_height_feet || (i == 0 && height >= pattern_height_feet)) was_high = true;
    if (was_high && height < pattern_height_feet) {
      was_high = false;
      ++found.count;
    }
    if (i >= run.plane_exit && i < run.top_of_turn) {
      found.lowest_before_turn = std::min(found.lowest_before_turn, height);
    }
    if (i >= run.top_of_turn) found.lowest_from_turn_on = std::min(found.lowest_from_turn_on, height);
  }
  return found;
}

// From the stop to the latest time behind it. A clock that is set back later does not shorten it.
double seconds_behind_stop(const swoop &run) {
  const gps_point &stop = run.track[run.stop];
  double seconds = 0.0;
  for (const gps_point &sample : samples_of(run, {run.stop, run.track_len})) {
    seconds = std::max(seconds, seconds_between(stop, sample));
  }
  return seconds;
}

void judge_flight(const swoop &run, run_verdict &verdict) {
  const descents found = descents_of(run);
  const double dive = run.max_vert_speed != 0 ? descent_mph(run.track[run.max_vert_speed]) : 0.0;
  add_below(verdict, reason_code::no_dive, dive);
  add_above(verdict, reason_code::too_fast_for_canopy, dive);
  add_below(verdict, reason_code::levelled_slow, horizontal_mph(run.track[run.bottom_of_turn]));
  const double stop_height = height_feet(run.track[run.stop]);
  add_above(verdict, reason_code::ends_in_air, std::max(stop_height - found.lowest_from_turn_on, stop_height));
  add_below(verdict, reason_code::ends_early, seconds_behind_stop(run));
  add_above(verdict, reason_code::several_runs, found.count);
  if (run.plane_exit != 0) add_below(verdict, reason_code::exit_of_another_run, found.lowest_before_turn);
}

// The frame is made from the first landing of the track, the figures from its fastest dive.
void judge_implicit_gate(const swoop &run, run_verdict &verdict) {
  error_slot error = nullptr;
  const implicit_landing found = find_implicit_landing(run, &error);
  if (error != nullptr || found.landing >= run.top_of_turn) return;
  // Negative where the clock was set back in between.
  const double seconds = seconds_between(run.track[found.landing], run.track[run.top_of_turn]);
  add_above(verdict, reason_code::gate_of_another_run, std::fabs(seconds));
}

void judge_course(const swoop &run, run_verdict &verdict) {
  if (run.gate_type == gate_type_implicit) {
    judge_implicit_gate(run, verdict);
    add_above(verdict, reason_code::levelled_high, feet_per_metre * run.bottom_zpos);
    return;
  }
  if (run.entry_gate != 0) {
    add_above(verdict, reason_code::beside_the_gate, std::fabs(run.entry_gate_ypos));
    return;
  }
  double nearest = infinity;
  for (const gps_point &sample : samples_of(run, {run.rollout, run.stop + 1})) {
    nearest = std::min(nearest, distance_2d({}, sample.pos_local));
  }
  const bool is_far = nearest > rule_of(reason_code::far_from_gate).limit;
  add(verdict, is_far ? reason_code::far_from_gate : reason_code::gate_not_crossed, nearest);
}

// A pilot who stands is on the ground, whose height the walk of the course has measured as well. A stop higher up is in
// the air.
void judge_course_height(const swoop &run, run_verdict &verdict) {
  if (run.gate_type == gate_type_implicit) return;
  const double height = height_feet(run.track[run.stop]);
  const bool is_off = std::fabs(height) > rule_of(reason_code::heights_differ).limit;
  if (is_off && height <= rule_of(reason_code::ends_in_air).limit) add(verdict, reason_code::heights_differ, height);
}

// A touchdown that a judge has timed is not at the last sample.
void judge_touchdown(const swoop &run, run_verdict &verdict) {
  const gps_point &last = run.track[run.track_len - 1];
  if (!is_touchdown_marked(run)) {
    add(verdict, reason_code::touchdown_is_stop, run.touchdown_distance);
  } else if (run.touchdown_distance == last.pos_local.x) {
    add_above(verdict, reason_code::touchdown_moves, horizontal_mph(last));
  }
}

}  // namespace

const reason_rule &rule_of(reason_code code) { return rules[static_cast<std::size_t>(code)]; }

run_verdict judge_run(const swoop &run, const run_check &check) {
  run_verdict verdict;
  judge_times(run, check, verdict);
  judge_reception(run, verdict);
  judge_noise(check, verdict);
  judge_draws(check, verdict);
  judge_lag(check, verdict);
  judge_flight(run, verdict);
  judge_course(run, verdict);
  judge_course_height(run, verdict);
  judge_touchdown(run, verdict);
  return verdict;
}

}  // namespace tarvel
