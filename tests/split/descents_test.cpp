#include "split/descents.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarvel {
namespace {

constexpr double metres_per_degree = 111194.92664455874;  // of latitude, on a sphere of 6,371 km
constexpr double metres_per_foot = 0.3048;
constexpr double mps_per_mph = 0.44704;

struct place_and_speed {
  std::int64_t time = 0;  // ms
  double height = 0.0;    // m
  double descent = 0.0;   // m/s
  double north = 15.0;    // m/s; 34 mph
  double place = 0.0;     // m to the north
};

gps_point sample_of(const place_and_speed &given) {
  gps_point sample;
  sample.time = given.time;
  sample.pos_wgs84 = {48.5 + given.place / metres_per_degree, 11.25, given.height};
  sample.vel_ltp = {given.north, 0.0, given.descent};
  return sample;
}

struct found_descent {
  std::uint32_t highest;
  std::uint32_t landing;
  bool has_landed;
  bool operator==(const found_descent &) const = default;
};

std::vector<found_descent> descents_in(const std::vector<place_and_speed> &given) {
  std::vector<gps_point> samples;
  for (const place_and_speed &each : given) samples.push_back(sample_of(each));
  descent_list list;
  error_slot error = nullptr;
  find_descents(samples, list, &error);
  EXPECT_EQ(error, nullptr);
  std::vector<found_descent> found;
  for (std::uint32_t i = 0; i < list.count; ++i) {
    const descent &each = list.descents[i];
    found.push_back({each.highest, each.landing, each.has_landed});
  }
  return found;
}

struct fall_case {
  const char *name;
  std::int64_t time;  // ms from the highest sample, at 1,000 m
  double height;
  double descent;
  bool is_descent;
};

// The fall is (descent - 1.5 m/s) * time.
const fall_case fall_cases[] = {
    {"500 ft are not enough", 10000, 1000.0 - 499.9 * metres_per_foot, 20.0, false},
    {"more than 500 ft", 10000, 1000.0 - 500.1 * metres_per_foot, 20.0, true},
    {"a fall of 99.9 m", 10000, 800.0, 11.49, false},
    {"a fall of 100.1 m", 10000, 800.0, 11.51, true},
    {"a speed counts for 10 s: 99.9 m", 50000, 800.0, 11.49, false},
    {"a speed counts for 10 s: 100.1 m", 50000, 800.0, 11.51, true},
    {"150 m/s is the greatest speed: 148.5 m/s for 673 ms", 673, 800.0, 1000.0, false},
    {"150 m/s is the greatest speed: 148.5 m/s for 674 ms", 674, 800.0, 1000.0, true},
    {"a step back in time", -1000, 800.0, 1000.0, false},
};

TEST(descents_test, needs_a_height_lost_and_speeds_that_confirm_it) {
  for (const fall_case &c : fall_cases) {
    SCOPED_TRACE(c.name);
    const std::vector<found_descent> found = descents_in({{0, 1000.0}, {c.time, c.height, c.descent}});
    EXPECT_EQ(found, c.is_descent ? std::vector<found_descent>({{0, 1, false}}) : std::vector<found_descent>());
  }
}

struct landing_case {
  const char *name;
  place_and_speed fourth;  // 9 s after the first slow sample, or later
  std::uint32_t landing;
};

// Behind the fourth sample, one is faster than 25 mph and the last is slow.
const landing_case landing_cases[] = {
    {"slow for 15 s is no landing", {35000, 100.0, 0.0, 0.0}, 5},
    {"slow for more than 15 s", {35001, 100.0, 0.0, 0.0}, 2},
    {"walking at less than 25 mph", {35001, 100.0, 0.0, 24.9 * mps_per_mph}, 2},
    {"driving at more than 25 mph", {35001, 100.0, 0.0, 25.1 * mps_per_mph}, 5},
    {"less than 100 ft higher", {35001, 100.0 + 99.95 * metres_per_foot, 0.0, 0.0}, 2},
    {"more than 100 ft higher", {35001, 100.0 + 100.05 * metres_per_foot, 0.0, 0.0}, 5},
    {"less than 100 ft lower", {35001, 100.0 - 99.95 * metres_per_foot, 0.0, 0.0}, 2},
    {"more than 100 ft lower", {35001, 100.0 - 100.05 * metres_per_foot, 0.0, 0.0}, 5},
};

TEST(descents_test, ends_where_the_pilot_is_slow_and_stays_at_this_height_for_15_seconds) {
  for (const landing_case &c : landing_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(descents_in({{0, 1000.0},
                           {10000, 800.0, 20.0},
                           {20000, 100.0, 0.0, 0.0},
                           c.fourth,
                           {36000, 100.0},
                           {40000, 100.0, 0.0, 0.0}}),
              (std::vector<found_descent>{{0, c.landing, true}}));
  }
}

struct pause_case {
  const char *name;
  std::int64_t time;  // ms behind the sample before, which is at 800 m
  double height;
  double place;  // m to the north of it
  bool is_one_flight;
};

const pause_case pause_cases[] = {
    {"a minute is no pause", 60000, 1200.0, 0.0, true},
    {"more than a minute, and climbed less than 300 m", 60001, 1099.9, 0.0, true},
    {"more than a minute, and climbed more than 300 m", 60001, 1100.1, 0.0, false},
    {"more than a minute, and much lower", 60001, 0.0, 5000.0, true},
    {"15 minutes", 900000, 800.0, 0.0, true},
    {"more than 15 minutes", 900001, 800.0, 0.0, false},
    {"a minute back is no pause", -60000, 1200.0, 0.0, true},
    {"the clock was set back", -60001, 800.0, 0.0, true},
    {"set back, and less than 300 m higher", -60001, 1099.9, 0.0, true},
    {"set back, and more than 300 m higher", -60001, 1100.1, 0.0, false},
    {"set back, and less than 300 m lower", -60001, 500.1, 0.0, true},
    {"set back, and more than 300 m lower", -60001, 499.9, 0.0, false},
    {"set back, and less than 1,000 m away", -60001, 800.0, 999.9, true},
    {"set back, and more than 1,000 m away", -60001, 800.0, 1000.1, false},
};

TEST(descents_test, goes_on_behind_a_pause_in_which_there_can_have_been_no_landing) {
  for (const pause_case &c : pause_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(descents_in({{0, 1000.0}, {10000, 800.0, 20.0}, {10000 + c.time, c.height, 0.0, 15.0, c.place}}),
              (std::vector<found_descent>{{0, c.is_one_flight ? 2U : 1U, false}}));
  }
}

struct standing_case {
  const char *name;
  place_and_speed next;  // time: ms behind the slow sample before, which is at 500 m
  bool is_one_flight;
};

const standing_case standing_cases[] = {
    {"a minute, and lower", {60000, 400.0}, true},
    {"more than a minute, and more than 100 ft lower", {60001, 500.0 - 100.05 * metres_per_foot}, true},
    {"more than a minute, and less than 100 ft lower", {60001, 500.0 - 99.95 * metres_per_foot}, false},
    {"more than a minute, and higher", {60001, 600.0}, false},
    {"more than a minute, lower, and slow", {60001, 400.0, 0.0, 0.0}, false},
    {"15 minutes, and lower", {900000, 400.0}, true},
    {"more than 15 minutes, and lower", {900001, 400.0}, false},
};

TEST(descents_test, goes_on_from_a_slow_sample_behind_a_pause_when_the_next_one_flies_lower) {
  for (const standing_case &c : standing_cases) {
    SCOPED_TRACE(c.name);
    place_and_speed next = c.next;
    next.time += 20000;
    EXPECT_EQ(descents_in({{0, 1000.0}, {10000, 800.0, 20.0}, {20000, 500.0, 0.0, 0.0}, next}),
              (std::vector<found_descent>{{0, c.is_one_flight ? 3U : 2U, !c.is_one_flight}}));
  }
}

struct interruption_case {
  const char *name;
  std::int64_t time;  // ms
  double climb;
  double place;
  bool is_interruption;
};

// Within 2 s: 100 m + 2 s * 100 m/s in plan or down, 100 m + 2 s * 15 m/s up.
const interruption_case interruption_cases[] = {
    {"a minute", 60000, 0.0, 0.0, false},
    {"more than a minute", 60001, 0.0, 0.0, true},
    {"a minute back", -60000, 0.0, 0.0, false},
    {"more than a minute back", -60001, 0.0, 0.0, true},
    {"299.9 m", 2000, 0.0, 299.9, false},
    {"300.1 m", 2000, 0.0, 300.1, true},
    {"300.1 m with the clock back", -2000, 0.0, 300.1, true},
    {"299.9 m with the clock back", -2000, 0.0, 299.9, false},
    {"299.9 m down", 2000, -299.9, 0.0, false},
    {"300.1 m down", 2000, -300.1, 0.0, true},
    {"129.9 m up", 2000, 129.9, 0.0, false},
    {"130.1 m up", 2000, 130.1, 0.0, true},
};

TEST(descents_test, is_interrupted_where_the_logger_was_off_or_carried_away) {
  for (const interruption_case &c : interruption_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(is_interrupted(sample_of({0, 500.0}), sample_of({c.time, 500.0 + c.climb, 0.0, 0.0, c.place})),
              c.is_interruption);
  }
}

TEST(descents_test, measures_distances_across_the_date_line) {
  gps_point east;
  gps_point west;
  east.pos_wgs84.y = 179.9995;
  west.pos_wgs84.y = -179.9995;
  EXPECT_NEAR(plan_distance(east, west), 0.001 * metres_per_degree, 1e-6);
  EXPECT_NEAR(plan_distance(west, east), 0.001 * metres_per_degree, 1e-6);
  east.pos_wgs84.x = west.pos_wgs84.x = 60.0;
  EXPECT_NEAR(plan_distance(east, west), 0.0005 * metres_per_degree, 1e-6);
}

TEST(descents_test, takes_the_speed_in_space) {
  const auto moving = [](double mph, bool is_down) {
    const double speed = mph * mps_per_mph;
    return sample_of({0, 0.0, is_down ? speed : 0.0, is_down ? 0.0 : speed});
  };
  for (const bool is_down : {false, true}) {
    SCOPED_TRACE(is_down);
    EXPECT_TRUE(is_at_rest(moving(1.99, is_down)));
    EXPECT_FALSE(is_at_rest(moving(2.01, is_down)));
    EXPECT_TRUE(is_slow(moving(9.99, is_down)));
    EXPECT_FALSE(is_slow(moving(10.01, is_down)));
  }
}

}  // namespace
}  // namespace tarvel
