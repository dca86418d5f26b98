#include "swoop/plane_exit.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ctime>
#include <random>
#include <utility>
#include <vector>

#include "support/allocation_limit.h"
#include "support/hand_made_run.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

struct fall_row {
  std::int64_t time = 0;      // ms
  double height = 0.0;        // m
  double acceleration = 0.0;  // m/s2, positive downward
  float vacc = 1.0F;
};

using fall_rows = std::vector<fall_row>;

swoop run_of_rows(const fall_rows &rows) {
  std::vector<gps_point> samples;
  for (const fall_row &row : rows) {
    gps_point sample;
    sample.time = row.time;
    sample.pos_local.z = row.height;
    sample.acc_local.z = -row.acceleration;
    sample.vacc = row.vacc;
    samples.push_back(sample);
  }
  return run_of(samples);
}

std::uint32_t exit_of(const fall_rows &rows) {
  swoop run = run_of_rows(rows);
  run.plane_exit = 77;  // the result of an earlier pass
  error_slot error = nullptr;
  detect_plane_exit(run, &error);
  EXPECT_EQ(error, nullptr);
  return run.plane_exit;
}

// Sample 1 alone may be the exit: 40 mph/s, then 12, which is not above the least of a fall. Mean over its 1,500 ms:
// (40 + 3 * 12) / 4 = 19. The last sample would end its scan.
fall_rows plain_fall() {
  return {{0, from_feet(2600.0), 0.0},
          {500, from_feet_above(2500.0), from_mph(40.0)},
          {1000, from_feet(2400.0), from_mph(12.0)},
          {1500, from_feet(2325.0), from_mph(12.0)},
          {2000, from_feet(2300.0), from_mph(12.0)},
          {2500, from_feet(400.0), -from_mph(1.0)},
          {3000, from_feet_below(200.0), 0.0}};
}

struct exit_case {
  const char *name;
  void (*change)(fall_rows &rows);
  std::uint32_t expected;
};

const exit_case candidate_cases[] = {
    {"a plain fall", [](fall_rows &) {}, 1},
    {"at exactly 2,500 ft nothing falls", [](fall_rows &r) { r[1].height = from_feet(2500.0); }, 0},
    {"at exactly 20,000 ft nothing falls", [](fall_rows &r) { r[0].height = r[1].height = from_feet(20000.0); }, 0},
    {"just below 20,000 ft", [](fall_rows &r) { r[0].height = r[1].height = from_feet_below(20000.0); }, 1},
    {"at exactly 12 mph/s the next sample is the exit",
     [](fall_rows &r) {
       r[1] = {500, from_feet(3000.0), from_mph(12.0)};
       for (std::size_t i = 2; i <= 5; ++i)
         r[i] = {static_cast<std::int64_t>(i * 500), from_feet(2600.0), from_mph(16.0)};
     },
     2},
    {"just above 12 mph/s",
     [](fall_rows &r) {
       r[1] = {500, from_feet(3000.0), from_mph_above(12.0)};
       for (std::size_t i = 2; i <= 5; ++i)
         r[i] = {static_cast<std::int64_t>(i * 500), from_feet(2600.0), from_mph(16.0)};
     },
     1},
    {"a shock of exactly 44 mph/s", [](fall_rows &r) { r[3].acceleration = from_mph(44.0); }, 1},
    {"a shock above 44 mph/s ends the scan", [](fall_rows &r) { r[3].acceleration = from_mph_above(44.0); }, 0},
    {"the candidate itself above 44 mph/s", [](fall_rows &r) { r[1].acceleration = from_mph_above(44.0); }, 0},
    {"a shock above 44 mph/s at the first sample", [](fall_rows &r) { r[0].acceleration = from_mph_above(44.0); }, 1},
    {"a moment without acceleration", [](fall_rows &r) { r[3].acceleration = 0.0; }, 1},
    {"a moment of deceleration ends the scan", [](fall_rows &r) { r[3].acceleration = -1e-12; }, 0},
    {"the sample that completes the time is checked, too", [](fall_rows &r) { r[4].acceleration = -1e-12; }, 0},
    {"a mean of exactly 12 mph/s",
     [](fall_rows &r) {
       r[1].acceleration = from_mph(24.0);  // 24 + 12 + 12 + 0 = 4 * 12
       r[4].acceleration = 0.0;
     },
     0},
    {"a mean just above 12 mph/s",
     [](fall_rows &r) {
       r[1].acceleration = from_mph(24.0) + 1e-6;
       r[4].acceleration = 0.0;
     },
     1},
    {"the least mean above 12 mph/s, to which the last sample belongs",
     [](fall_rows &r) {
       r[1].acceleration = from_mph(24.0) + 4e-15;  // the sum is the next number or two after 48
       r[3].acceleration = from_mph(6.0);
       r[4].acceleration = from_mph(6.0);
     },
     1},
    {"1,499 ms are too few", [](fall_rows &r) { r[4].time = 1999; }, 0},
    {"the track ends before 1,500 ms", [](fall_rows &r) { r.resize(4); }, 0},
    {"the track ends with the fall", [](fall_rows &r) { r.resize(5); }, 1},
    {"a clock that goes back", [](fall_rows &r) { r[4].time = 400; }, 0},
    {"a clock that goes back below a 32-bit zero", [](fall_rows &r) { r[4].time = 500 - 2000; }, 0},
    {"an acceleration that is not a number within the fall", [](fall_rows &r) { r[3].acceleration = not_a_number; }, 0},
    {"an acceleration that is not a number at the candidate", [](fall_rows &r) { r[1].acceleration = not_a_number; },
     0},
    {"a height that is not a number", [](fall_rows &r) { r[1].height = not_a_number; }, 0},
    {"an empty track", [](fall_rows &r) { r.clear(); }, 0},
};

const exit_case confirmation_cases[] = {
    {"a climb of exactly 75 ft",
     [](fall_rows &r) {
       r[3].height = from_feet(2325.0);
       r[4].height = from_feet(2400.0);
     },
     1},
    {"a climb of more than 75 ft",
     [](fall_rows &r) {
       r[3].height = from_feet(2325.0);
       r[4].height = from_feet_above(2400.0);
     },
     0},
    {"a climb from the candidate's own height", [](fall_rows &r) { r[2].height = from_feet(2600.0); }, 0},
    {"the climb is from the lowest sample, not from the one before",
     [](fall_rows &r) {
       r[2].height = from_feet(2300.0);
       r[3].height = from_feet(2325.0);
       r[4].height = from_feet(2400.0);
     },
     0},
    {"a climb after a low of exactly 200 ft",
     [](fall_rows &r) {
       r[5].height = from_feet(200.0);
       r[6].height = from_feet(400.0);
     },
     0},
    {"a climb after a low just below 200 ft",
     [](fall_rows &r) {
       r[5].height = from_feet_below(200.0);
       r[6].height = from_feet(400.0);
     },
     1},
    {"a track that ends high", [](fall_rows &r) { r.resize(5); }, 1},
    {"the first fall ends in a climb, the second does not",
     [](fall_rows &r) {
       r = {{0, from_feet(3000.0), 0.0},
            {500, from_feet(3000.0), from_mph(22.0)},
            {1000, from_feet(2600.0), from_mph(22.0)},
            {1500, from_feet(2600.0), from_mph(22.0)},
            {2000, from_feet(2600.0), from_mph(22.0)},
            {2500, from_feet(2600.0), from_mph(22.0)},
            {3000, from_feet(2675.0) + 0.1, from_mph(22.0)},  // a climb of more than 75 ft refuses samples 1 to 5
            {3500, from_feet(2600.0), from_mph(22.0)},
            {4000, from_feet(2400.0), from_mph(22.0)},
            {4500, from_feet(2000.0), from_mph(22.0)},
            {5000, from_feet(300.0), 0.0}};
     },
     6},
};

const exit_case early_end_cases[] = {
    {"a descent from above 2,500 ft to below 1,000 ft ends the search",
     [](fall_rows &r) {
       r[0] = {0, from_feet_above(2500.0), 0.0, 9.99F};
       r[1] = {1, from_feet_below(1000.0), 0.0, 9.99F};
     },
     0},
    {"exactly 2,500 ft does not count as high",
     [](fall_rows &r) {
       r[0] = {0, from_feet(2500.0), 0.0};
     },
     3},
    {"exactly 1,000 ft does not count as low",
     [](fall_rows &r) {
       r[1] = {1, from_feet(1000.0), 0.0};
     },
     3},
    {"a high of 10 m accuracy does not count", [](fall_rows &r) { r[0].vacc = 10.0F; }, 3},
    {"a low of 10 m accuracy does not count", [](fall_rows &r) { r[1].vacc = 10.0F; }, 3},
    {"an unknown accuracy does not count", [](fall_rows &r) { r[0].vacc = std::numeric_limits<float>::quiet_NaN(); },
     3},
    {"low before high", [](fall_rows &r) { std::swap(r[0].height, r[1].height); }, 3},
    {"the fall itself needs no accuracy",
     [](fall_rows &r) {
       r[0].vacc = 10.0F;
       for (std::size_t i = 2; i < r.size(); ++i) r[i].vacc = 50.0F;
     },
     3},
};

// The fall of plain_fall, two samples later, after a high and a low one.
fall_rows fall_behind_a_landing() {
  fall_rows rows = {{0, from_feet_above(2500.0), 0.0}, {1, from_feet_below(1000.0), 0.0}};
  for (const fall_row &row : plain_fall()) rows.push_back(row);
  return rows;
}

TEST(plane_exit_test, begins_where_the_acceleration_of_a_fall_begins) {
  for (const exit_case &c : candidate_cases) {
    SCOPED_TRACE(c.name);
    fall_rows rows = plain_fall();
    c.change(rows);
    EXPECT_EQ(exit_of(rows), c.expected);
  }
}

TEST(plane_exit_test, is_refused_when_the_fall_turns_into_a_climb) {
  for (const exit_case &c : confirmation_cases) {
    SCOPED_TRACE(c.name);
    fall_rows rows = plain_fall();
    c.change(rows);
    EXPECT_EQ(exit_of(rows), c.expected);
  }
}

TEST(plane_exit_test, is_not_searched_for_after_a_trusted_descent_to_the_ground) {
  for (const exit_case &c : early_end_cases) {
    SCOPED_TRACE(c.name);
    fall_rows rows = fall_behind_a_landing();
    c.change(rows);
    EXPECT_EQ(exit_of(rows), c.expected);
  }
}

// The same search, scanning the samples after every candidate.
std::uint32_t exit_by_rescanning(const swoop &run) {
  const std::span<const gps_point> s = samples_of(run);
  bool seen_high = false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double h = height_feet(s[i]);
    if (s[i].vacc < 10.0F) {
      if (h > 2500.0) seen_high = true;
      if (h < 1000.0 && seen_high) return 0;
    }
    if (!(h > 2500.0 && h < 20000.0 && downward_acceleration(s[i]) > 12.0)) continue;
    bool is_candidate = false;
    double sum = 0.0;
    for (std::size_t j = i; j < s.size(); ++j) {
      const double a = downward_acceleration(s[j]);
      if (a < 0.0 || a > 44.0) break;
      sum += a;
      if (elapsed(s[i].time, s[j].time) >= 1500) {
        is_candidate = sum / static_cast<double>(j - i + 1) > 12.0;
        break;
      }
    }
    if (!is_candidate) continue;
    double lowest = h;
    bool is_confirmed = true;
    for (std::size_t j = i; j < s.size(); ++j) {
      const double height = height_feet(s[j]);
      if (height < lowest) lowest = height;
      if (height < 200.0) break;
      if (height - lowest > 75.0) {
        is_confirmed = false;
        break;
      }
    }
    if (is_confirmed) return static_cast<std::uint32_t>(i);
  }
  return 0;
}

TEST(plane_exit_test, is_what_scanning_every_candidate_anew_finds) {
  std::mt19937 random(1);
  const auto up_to = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  int found = 0;
  for (int round = 0; round < 20000; ++round) {
    fall_rows rows;
    std::int64_t time = 0;
    double feet = 2500.0 + 100.0 * up_to(10);
    const int bounce = 1 + up_to(3);
    const int trust = 1 + up_to(4);
    for (int i = 0; i < 40; ++i) {
      rows.push_back({time, feet / feet_per_metre, up_to(12) == 0 ? -1.0 : 8.0, up_to(4) < trust ? 20.0F : 2.0F});
      time += up_to(10) == 0 ? -700 * up_to(bounce) : 500;
      feet += up_to(3) == 0 ? 10.0 * up_to(6) : -10.0 * up_to(6);
      if (up_to(60) == 0) feet = 100.0 * up_to(40);
      if (up_to(80) == 0) feet = up_to(3) == 0 ? endless : not_a_number;
      if (!std::isfinite(feet) && up_to(2) == 0) feet = 2600.0;
    }
    rows[0].acceleration = 0.0;  // as in every track: there is no speed before it
    swoop run = run_of_rows(rows);
    const std::uint32_t expected = exit_by_rescanning(run);
    error_slot error = nullptr;
    detect_plane_exit(run, &error);
    ASSERT_EQ(run.plane_exit, expected) << "round " << round;
    if (expected != 0) ++found;
  }
  EXPECT_GT(found, 2000);
  EXPECT_LT(found, 18000);
}

// Falls around every limit: means near 12 mph/s with clocks that go slowly, stand, go back and jump, some so far that
// differences of times wrap, and heights that change within 75 ft.
fall_rows long_wandering_fall(std::mt19937 &random, int count) {
  const auto up_to = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const int pace = 1 + up_to(40);            // ms
  const int rest = up_to(3) == 0 ? 2 : 100;  // how seldom the clock goes back
  const double other = 12.0 - 3.0 * up_to(5);
  fall_rows rows;
  std::uint64_t time = up_to(2) == 0 ? 0 : std::uint64_t{1} << 63;
  double feet = 2600.0;
  for (int i = 0; i < count; ++i) {
    const double acceleration = up_to(2) == 0 ? 24.0 - other : other;
    const std::uint64_t own_time = up_to(300) == 0 ? std::uint64_t{random()} << 32 : time;
    rows.push_back({static_cast<std::int64_t>(own_time), feet / feet_per_metre,
                    up_to(150) == 0 ? -1.0 : acceleration / mph_per_mps, 20.0F});
    if (up_to(400) == 0) rows.back().acceleration = not_a_number;
    if (up_to(400) == 0) rows.back().height = not_a_number;
    time += up_to(rest) == 0 ? std::uint64_t{0} - static_cast<unsigned>(up_to(pace + 2)) : static_cast<unsigned>(pace);
    if (up_to(300) == 0) time += std::uint64_t{1} << (40 + up_to(24));
    feet += 0.25 * (up_to(9) - 4) + 0.1;
    if (up_to(300) == 0) feet += 50.0;
  }
  rows[0].acceleration = 0.0;
  return rows;
}

// Without memory the detector looks at every sample, and finds the same.
TEST(plane_exit_test, is_what_scanning_finds_also_where_many_samples_are_asked_for) {
  std::mt19937 random(3);
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    swoop run = run_of_rows(long_wandering_fall(random, round % 50 == 0 ? 2500 : 600));
    const std::uint32_t expected = exit_by_rescanning(run);
    error_slot error = nullptr;
    detect_plane_exit(run, &error);
    ASSERT_EQ(run.plane_exit, expected) << "round " << round;
    const allocation_limit limit(0);
    detect_plane_exit(run, &error);
    ASSERT_EQ(run.plane_exit, expected) << "round " << round << " without memory";
    if (expected > 1) ++found;
  }
  EXPECT_GT(found, 300);
  EXPECT_LT(found, 2700);
}

// The time of sample 700 is 292 million years after the exit's, since their difference wraps.
TEST(plane_exit_test, has_lasted_at_a_time_whose_difference_wraps) {
  fall_rows rows;
  for (int i = 0; i < 900; ++i) rows.push_back({i, 1000.0, i == 0 || i == 800 ? -1.0 : 10.0});
  rows[700].time = INT64_MIN;
  EXPECT_EQ(exit_of(rows), 1U);
}

double seconds_of_search(const fall_rows &rows) {
  swoop run = run_of_rows(rows);
  error_slot error = nullptr;
  const std::clock_t start = std::clock();
  detect_plane_exit(run, &error);
  EXPECT_EQ(run.plane_exit, 0U);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Scanning for each candidate would take 10^10 steps each time.
TEST(plane_exit_test, takes_linear_time_on_a_long_slow_climb) {
  fall_rows rows;
  for (int i = 0; i < 200000; ++i) rows.push_back({i * 100, 1000.0 + i * 1e-4, 10.0});
  rows.push_back({200000 * 100, 1100.0, -1.0});
  EXPECT_LT(seconds_of_search(rows), 5.0);
}

TEST(plane_exit_test, takes_linear_time_when_the_clock_goes_back) {
  fall_rows rows;
  for (int i = 0; i < 200000; ++i) rows.push_back({-i, 1000.0, 10.0});
  EXPECT_LT(seconds_of_search(rows), 5.0);
}

TEST(plane_exit_test, takes_linear_time_when_long_means_are_refused) {
  fall_rows rows;
  for (int i = 0; i < 200000; ++i) rows.push_back({i % 2 - i / 2, 1000.0, i % 2 == 0 ? 0.0 : 6.0});
  rows.push_back({1000000, 1000.0, 0.0});
  EXPECT_LT(seconds_of_search(rows), 5.0);
}

// All means are exactly 12 mph/s.
TEST(plane_exit_test, takes_linear_time_when_long_means_lie_on_the_threshold) {
  fall_rows rows;
  for (int i = 0; i < 200000; ++i) rows.push_back({i % 2, 1000.0, i % 2 == 0 ? 0.0 : from_mph(24.0)});
  rows.push_back({1000000, 1000.0, 0.0});
  EXPECT_LT(seconds_of_search(rows), 5.0);
}

// Scanning for each candidate would take 10^10 steps, half a minute and more.
TEST(plane_exit_test, takes_linear_time_when_a_long_level_fall_ends_in_a_climb) {
  fall_rows rows;
  for (int i = 0; i < 200000; ++i) rows.push_back({i * 100, 1000.0, 10.0});
  rows.push_back({200000 * 100, 1100.0, -1.0});
  swoop run = run_of_rows(rows);
  error_slot error = nullptr;
  const std::clock_t start = std::clock();
  detect_plane_exit(run, &error);
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5.0);
  EXPECT_EQ(run.plane_exit, 0U);
}

struct pattern_entry_case {
  const char *name;
  std::vector<double> heights;  // m, one per sample
  std::uint32_t plane_exit;
  std::uint32_t expected;
  error_slot message;
};

const pattern_entry_case pattern_entry_cases[] = {
    {"exactly 2,500 ft counts as above", {from_feet(2500.0), from_feet_below(2500.0)}, 0, 1, nullptr},
    {"just below 2,500 ft counts as below", {from_feet_below(2500.0), 500.0}, 0, 0, "could not detect pattern entry"},
    {"exactly 2,500 ft is not an entry", {800.0, from_feet(2500.0)}, 0, 0, "could not detect pattern entry"},
    {"recorded from below", {500.0, 400.0}, 0, 0, "could not detect pattern entry"},
    {"never below", {900.0, 800.0}, 0, 0, "could not detect pattern entry"},
    {"the first of two descents", {800.0, 700.0, 800.0, 700.0}, 0, 1, nullptr},
    {"the exit itself may be the sample above", {800.0, 700.0, 800.0, 700.0}, 2, 3, nullptr},
    {"a descent into the exit sample does not count", {800.0, 700.0, 600.0}, 1, 0, "could not detect pattern entry"},
    {"the exit is the last sample", {800.0, 800.0}, 1, 0, "could not detect pattern entry"},
    {"a height that is not a number is neither", {800.0, not_a_number, 700.0}, 0, 0, "could not detect pattern entry"},
    {"a climb is no entry", {700.0, 800.0}, 0, 0, "could not detect pattern entry"},
};

TEST(pattern_entry_test, finds_the_first_descent_through_the_pattern_height) {
  for (const pattern_entry_case &c : pattern_entry_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.heights.size());
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i].pos_local.z = c.heights[i];
    swoop run = run_of(samples);
    run.plane_exit = c.plane_exit;
    error_slot error = nullptr;
    detect_pattern_entry(run, &error);
    EXPECT_STREQ(error, c.message);
    EXPECT_EQ(run.pattern_entry, c.expected);
  }
}

}  // namespace

}  // namespace tarvel
