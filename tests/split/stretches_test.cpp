#include "split/stretches.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "split/descents.h"
#include "support/recordings.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

std::vector<stretch> split(const recording &track) {
  stretch_list list;
  error_slot error = nullptr;
  find_stretches(track, list, &error);
  EXPECT_EQ(error, nullptr);
  const std::span<const stretch> stretches = stretches_of(list);
  return {stretches.begin(), stretches.end()};
}

std::vector<stretch_kind> kinds_of(const recording &track) {
  std::vector<stretch_kind> kinds;
  for (const stretch &part : split(track)) kinds.push_back(part.kind);
  return kinds;
}

recording plain_run() { return recording_of(simulated_run()); }

recording straight_landing() {
  simulated_run run;
  run.turn_degrees = 0.0;
  run.dive_speed = 8.0;
  run.swoop_speed = 12.0;
  return recording_of(run);
}

gps_point point_at(const vec3 &place) {
  gps_point sample;
  sample.time = 1779000000000;
  sample.pos_wgs84 = place;
  sample.hacc = sample.vacc = 1.0F;
  return sample;
}

const vec3 meadow = {48.5, 11.25, 420.0};

// 60 m to the north at 1 m/s and back, repeated.
recording walk_of(int minutes) {
  recording track = {point_at(meadow)};
  for (int i = 0; i < minutes; ++i) {
    const double north = i % 2 == 0 ? 1.0 : -1.0;
    const vec3 &here = track.back().pos_wgs84;
    track =
        track + moving_behind(track.back(), {here.x + north * 60.0 / 111195.0, here.y, here.z}, {north, 0.0, 0.0}, 60);
  }
  return track;
}

using kinds = std::vector<stretch_kind>;

TEST(stretches_test, no_samples_have_no_stretch) { EXPECT_EQ(kinds_of({}), kinds()); }

TEST(stretches_test, tells_what_a_track_holds) {
  EXPECT_EQ(kinds_of(plain_run()), kinds{stretch_kind::run});
  EXPECT_EQ(kinds_of(straight_landing()), kinds{stretch_kind::descent});
  EXPECT_EQ(kinds_of(walk_of(10)), kinds{stretch_kind::walk});
  EXPECT_EQ(kinds_of(standing_behind(point_at(meadow), 600)), kinds{stretch_kind::ground});
  EXPECT_EQ(kinds_of({point_at(meadow)}), kinds{stretch_kind::ground});
  EXPECT_EQ(kinds_of(moving_behind(point_at(meadow), {48.6, 11.25, 1800.0}, {18.0, 0.0, -2.0}, 600)),
            kinds{stretch_kind::climb});
}

TEST(stretches_test, a_climb_is_of_more_than_500_feet) {
  const auto climb_of = [](double feet) {
    return moving_behind(point_at(meadow), {48.6, 11.25, 420.0 + 0.3048 * feet}, {18.0, 0.0, -0.25}, 600);
  };
  // The first sample of 600 has climbed a 600th part.
  EXPECT_EQ(kinds_of(climb_of(499.95 * 600.0 / 599.0)), kinds{stretch_kind::ground});
  EXPECT_EQ(kinds_of(climb_of(500.05 * 600.0 / 599.0)), kinds{stretch_kind::climb});
}

TEST(stretches_test, an_exit_is_told_by_its_height_above_the_landing) {
  const std::vector<stretch> parts = split(plain_run());
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_NEAR(parts[0].exit_height, 1500.0, 10.0);
  EXPECT_NEAR(parts[0].exit, 120.0, 10.0);  // 12 s at 10 Hz
  EXPECT_FALSE(parts[0].ends_in_the_air);
}

TEST(stretches_test, a_recording_may_begin_and_end_in_the_air) {
  recording track = plain_run();
  track.erase(track.begin(), track.begin() + 600);  // under canopy
  EXPECT_EQ(kinds_of(track), kinds{stretch_kind::run});
  EXPECT_EQ(split(track)[0].exit, 0U);
  track = plain_run();
  track.resize(1500);  // still under canopy
  ASSERT_EQ(kinds_of(track), kinds{stretch_kind::descent});
  EXPECT_TRUE(split(track)[0].ends_in_the_air);
  const recording both = track + starting_at(plain_run(), track.back().time + 3600000);
  ASSERT_EQ(kinds_of(both), (kinds{stretch_kind::descent, stretch_kind::run}));
  EXPECT_EQ(split(both)[0].samples.end, track.size());
}

TEST(stretches_test, a_pause_or_a_clock_that_is_set_in_the_air_cuts_no_jump) {
  for (const std::int64_t step : {300000, -86400000, 120000}) {
    SCOPED_TRACE(step);
    recording track = plain_run();
    for (std::size_t i = 1200; i < track.size(); ++i) track[i].time += step;
    EXPECT_EQ(kinds_of(track), kinds{stretch_kind::run});
  }
  recording track = plain_run();
  track.erase(track.begin() + 300, track.begin() + 1300);  // no fix for 100 s
  EXPECT_EQ(kinds_of(track), kinds{stretch_kind::run});
}

TEST(stretches_test, rows_in_the_wrong_order_cut_no_jump) {
  const recording run = plain_run();
  for (std::size_t i = 1; i < run.size(); i += 7) {
    SCOPED_TRACE(i);
    recording track = run;
    std::swap(track[i - 1], track[i]);
    EXPECT_EQ(kinds_of(track), kinds{stretch_kind::run});
  }
}

TEST(stretches_test, a_clock_that_is_set_back_on_the_ground_by_more_than_a_minute_begins_another_stretch) {
  recording track = standing_behind(point_at(meadow), 600);
  for (std::size_t i = 300; i < track.size(); ++i) track[i].time -= 61000;
  EXPECT_EQ(kinds_of(track), kinds{stretch_kind::ground});
  for (std::size_t i = 300; i < track.size(); ++i) track[i].time -= 1;
  EXPECT_EQ(kinds_of(track), (kinds{stretch_kind::ground, stretch_kind::ground}));
}

TEST(stretches_test, a_recording_on_the_ground_has_16_samples) {
  for (const int count : {15, 16}) {
    SCOPED_TRACE(count);
    const recording ground = standing_behind(point_at(meadow), 600);
    const recording track = ground + starting_at(standing_behind(ground.back(), count), point_at(meadow).time);
    EXPECT_EQ(split(track).size(), count == 16 ? 2U : 1U);
  }
}

TEST(stretches_test, wrong_heights_on_the_ground_are_no_descent) {
  recording track = standing_behind(point_at(meadow), 3600);
  for (std::size_t i = 1000; i < 1010; ++i) track[i].pos_wgs84.z += 700.0;
  for (std::size_t i = 2000; i < 3000; ++i) track[i].pos_wgs84.z += 300.0 * std::sin(static_cast<double>(i) / 100.0);
  for (const stretch_kind kind : kinds_of(track)) EXPECT_EQ(kind, stretch_kind::ground);
}

TEST(stretches_test, vertical_speeds_without_a_fall_are_no_descent) {
  recording track = standing_behind(point_at(meadow), 600);
  for (std::size_t i = 100; i < 200; ++i) track[i].vel_ltp.z = 5.0;
  EXPECT_EQ(kinds_of(track), kinds{stretch_kind::ground});
}

// Takes off on the ground below the run's first sample, and climbs to it.
recording with_climb(const gps_point &rest, const recording &run) {
  const vec3 &exit = run.front().pos_wgs84;
  const recording climb = moving_behind(rest, exit, {30.0, 20.0, -(exit.z - rest.pos_wgs84.z) / 600.0}, 600);
  return climb + starting_at(run, climb.back().time + 1000);
}

TEST(stretches_test, a_day_is_cut_on_the_ground_at_rest) {
  recording track = {point_at(meadow)};
  track = track + standing_behind(track.back(), 600);
  for (int jump = 0; jump < 3; ++jump) {
    track = track + with_climb(track.back(), jump == 1 ? straight_landing() : plain_run());
    const vec3 &here = track.back().pos_wgs84;
    track = track + moving_behind(track.back(), {here.x + 0.004, here.y, here.z}, {1.5, 0.0, 0.0}, 300);
    track = track + standing_behind(track.back(), 1200);
  }
  const std::vector<stretch> parts = split(track);
  EXPECT_EQ(kinds_of(track),
            (kinds{stretch_kind::ground, stretch_kind::run, stretch_kind::ground, stretch_kind::descent,
                   stretch_kind::ground, stretch_kind::run, stretch_kind::ground}));
  for (std::size_t i = 1; i < parts.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_TRUE(is_at_rest(track[parts[i].samples.first]));
    EXPECT_TRUE(is_at_rest(track[parts[i].samples.first - 1]));
    EXPECT_NEAR(track[parts[i].samples.first].pos_wgs84.z, 420.0, 5.0);
  }
}

// The climb begins behind the sample of this index, which is the last at rest.
recording jump_after_rest(std::size_t last) {
  recording track = {point_at(meadow)};
  track = track + standing_behind(track.back(), static_cast<int>(last));
  return track + with_climb(track.back(), plain_run());
}

TEST(stretches_test, a_jump_begins_ten_seconds_before_the_end_of_the_rest) {
  const std::vector<stretch> parts = split(jump_after_rest(600));
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(parts[1].samples.first, 590U);
}

TEST(stretches_test, less_than_a_minute_on_the_ground_belongs_to_the_first_jump) {
  EXPECT_EQ(kinds_of(jump_after_rest(69)), kinds{stretch_kind::run});
  ASSERT_EQ(kinds_of(jump_after_rest(70)), (kinds{stretch_kind::ground, stretch_kind::run}));
  EXPECT_EQ(split(jump_after_rest(70))[1].samples.first, 60U);
}

TEST(stretches_test, a_jump_keeps_the_ground_on_which_its_pilot_stays_near_the_stop) {
  recording track = plain_run();
  const std::size_t stopped = track.size();
  track = track + standing_behind(track.back(), 600);
  EXPECT_EQ(split(track).front().samples.end, track.size());

  const vec3 here = track.back().pos_wgs84;
  track.resize(stopped);
  track = track + moving_behind(track.back(), {here.x + 0.001, here.y, here.z}, {1.1, 0.0, 0.0}, 100);
  const std::size_t away = track.size();
  track = track + standing_behind(track.back(), 600);
  const std::vector<stretch> parts = split(track);
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(parts[0].samples.end, away + 1);
  EXPECT_EQ(parts[1].kind, stretch_kind::ground);

  // Less than a minute from the first sample at rest, and a minute.
  track.resize(away + 60);
  EXPECT_EQ(split(track).size(), 1U);
  track = track + standing_behind(track.back(), 1);
  EXPECT_EQ(split(track).size(), 2U);
}

// The walk lasts 400 s, and the clock goes back to 200 s after its start.
TEST(stretches_test, a_jump_ends_with_its_recording) {
  recording track = plain_run();
  const vec3 here = track.back().pos_wgs84;
  track = track + moving_behind(track.back(), {here.x + 0.004, here.y, here.z}, {1.1, 0.0, 0.0}, 400);
  const std::size_t end = track.size();
  track = track + starting_at(standing_behind(track.back(), 600), track.back().time - 200000);
  const std::vector<stretch> parts = split(track);
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(parts[0].samples.end, end);
}

// Without a sample that descends below 1,000 ft there is no stop.
TEST(stretches_test, a_descent_without_a_stop_keeps_the_ground_on_which_its_pilot_stays) {
  const recording fall = moving_behind(point_at({48.5, 11.25, 1420.0}), {48.51, 11.25, 900.0}, {15.0, 0.0, 5.2}, 100);
  gps_point landed = point_at({48.51, 11.25, 420.0});
  landed.time = fall.back().time + 100000;
  EXPECT_EQ(kinds_of(fall + standing_behind(landed, 600)), kinds{stretch_kind::descent});
}

TEST(stretches_test, a_jump_ends_at_its_landing_when_the_pilot_came_there_after_the_stop) {
  recording track = plain_run();
  const vec3 here = track.back().pos_wgs84;
  track = track + moving_behind(track.back(), {here.x + 70.0 * 20.0 / 111195.0, here.y, here.z}, {20.0, 0.0, 0.0}, 70);
  const std::size_t away = track.size();
  track = track + standing_behind(track.back(), 600);
  const std::vector<stretch> parts = split(track);
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(parts[0].samples.end, away + 1);
}

TEST(stretches_test, every_sample_is_in_one_stretch_whatever_it_holds) {
  std::mt19937 random(14);
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> odd = {0.0, -0.0, 1e308, -1e308, infinity, -infinity, std::nan(""), 5000.0, 90.0};
  const auto any = [&] { return odd[random() % odd.size()]; };
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    recording track = plain_run();
    track = track + starting_at(track, track.back().time + 600000);
    const unsigned one_in = 1U << (random() % 12);
    for (gps_point &sample : track) {
      if (random() % one_in != 0) continue;
      if (random() % 2 == 0) sample.pos_wgs84 = {any(), any(), any()};
      if (random() % 2 == 0) sample.vel_ltp = {any(), any(), any()};
      if (random() % 4 == 0) sample.time = static_cast<std::int64_t>(std::uint64_t{random()} << 32 | random());
    }
    std::uint32_t end = 0;
    for (const stretch &part : split(track)) {
      ASSERT_EQ(part.samples.first, end);
      ASSERT_LT(part.samples.first, part.samples.end);
      end = part.samples.end;
    }
    ASSERT_EQ(end, track.size());
  }
}

TEST(stretches_test, fails_wherever_memory_is_short) {
  const recording track = plain_run();
  const auto attempt = [&](std::size_t granted) {
    stretch_list list;
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    find_stretches(track, list, &error);
    EXPECT_EQ(list.count == 0, error != nullptr);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"realloc failed"});
}

}  // namespace
}  // namespace tarvel
