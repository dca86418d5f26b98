// One standstill: its condition, its extension, and the samples that are averaged.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "gate/waypoints.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();
const double below_2 = std::nextafter(2.0, 0.0);

// On a line, so that a distance is a difference.
struct line_sample {
  std::int64_t time;
  double x;
};

struct found_standstill {
  std::size_t next = 99;
  vec3 waypoint = {-99.0, -99.0, -99.0};
  std::string log;
  error_slot error = nullptr;
};

found_standstill find_standstill(const std::vector<gps_point> &samples, std::size_t start = 0) {
  found_standstill found;
  text_buffer log = text_buffer_create(&found.error);
  detect_waypoint(samples, start, found.next, found.waypoint, log);
  found.log = log.data.get();
  return found;
}

std::vector<gps_point> on_a_line(const std::vector<line_sample> &line) {
  std::vector<gps_point> samples;
  for (const line_sample &s : line) {
    gps_point sample;
    sample.time = s.time;
    sample.pos_ecef = {s.x, 0.0, 0.0};
    samples.push_back(sample);
  }
  return samples;
}

struct standstill_case {
  const char *name;
  std::vector<line_sample> samples;
  std::size_t next;  // the last averaged sample
  double mean;
  const char *log;
};

const standstill_case standstill_cases[] = {
    {"8000 ms between two samples are enough",
     {{0, 0.0}, {3000, 0.0}, {5000, 0.0}, {8000, 0.0}},
     2,
     0.0,
     "waypoint detected:   2 points,  2000ms interval, 0.00m deviation\n"},
    {"the first 1999 ms are left out",
     {{0, 0.0}, {1999, 1.0}, {4000, 0.5}, {8000, 0.5}},
     2,
     0.5,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"2000 ms after the first sample is kept",
     {{0, 0.0}, {2000, 1.0}, {4000, 0.5}, {8000, 0.5}},
     2,
     0.75,
     "waypoint detected:   2 points,  2000ms interval, 0.25m deviation\n"},
    {"the last 1999 ms are left out",
     {{0, 0.0}, {4000, 0.5}, {6001, 1.0}, {8000, 0.0}},
     1,
     0.5,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"2000 ms before the last sample is kept",
     {{0, 0.0}, {4000, 0.5}, {6000, 1.0}, {8000, 0.0}},
     2,
     0.75,
     "waypoint detected:   2 points,  2000ms interval, 0.25m deviation\n"},
    {"hardly less than 2 m away is still there",
     {{0, 0.0}, {4000, below_2}, {8000, below_2}, {9000, 1.5}, {10000, below_2}},
     2,
     below_2,
     "waypoint detected:   2 points,  4000ms interval, 0.00m deviation\n"},
    {"2 m away drags the anchor up to the first sample that is nearer",
     {{0, 0.0}, {1000, 0.5}, {2000, 2.0}, {5000, 2.0}, {9000, 2.0}, {9500, 2.0}},
     3,
     2.0,  // anchored at 1000 ms: those of 3000 to 7500 ms are averaged
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"2 m away for one sample drags the anchor there",
     {{0, 0.0}, {2000, 2.0}, {4000, 0.5}, {8000, 0.5}, {10500, 0.5}},
     3,
     0.5,
     "waypoint detected:   2 points,  4000ms interval, 0.00m deviation\n"},
    {"its end is measured from its first sample",
     {{0, 0.0}, {4000, 0.0}, {8000, 1.5}, {9000, 2.5}, {12000, 2.5}},
     1,
     0.0,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"a dragged anchor may prove the standstill at once",
     {{0, 0.0}, {1000, 1.0}, {4000, 1.0}, {5000, 1.0}, {9000, 2.5}, {9500, 8.0}},
     3,
     1.0,  // 8000 ms between the samples 1 and 4
     "waypoint detected:   2 points,  1000ms interval, 0.00m deviation\n"},
    // The sample of 10,000 ms drags the anchor of 0 ms to that of 200 ms, from which it is 1.5 m away.
    {"what lies before its proof belongs to it, however far from the dragged anchor",
     {{0, 0.0}, {200, -1.0}, {4000, -1.0}, {7800, 1.5}, {10000, -2.5}, {11000, -1.0}, {13000, -1.0}},
     5,
     -0.75,
     "waypoint detected:   4 points,  7000ms interval, 2.25m deviation\n"},
    {"drags as often as the walker moves on",
     {{0, 0.0}, {4000, 2.0}, {8000, 4.0}, {12000, 6.0}, {16000, 6.0}, {20000, 6.0}},
     4,
     6.0,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"slow drift of less than 2 m keeps the anchor",
     {{0, 0.0}, {2000, 0.5}, {4000, 1.0}, {6000, 1.5}, {8000, 1.9}},
     3,
     1.0,
     "waypoint detected:   3 points,  4000ms interval, 0.50m deviation\n"},
    {"goes on until the walker is 2 m away",
     {{0, 0.0}, {4000, 0.0}, {8000, 0.0}, {9000, 1.0}, {10000, 1.0}, {11000, below_2}, {12000, 2.0}},
     3,
     1.0 / 3.0,
     "waypoint detected:   3 points,  5000ms interval, 0.67m deviation\n"},
    {"coming back later does not prolong it",
     {{0, 0.0}, {4000, 0.0}, {8000, 0.0}, {9000, 2.0}, {10000, 0.0}, {14000, 0.0}},
     1,
     0.0,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"a distance that is not a number ends it",
     {{0, 0.0}, {4000, 0.0}, {8000, 0.0}, {9000, nan}, {10000, 0.0}, {14000, 0.0}},
     1,
     0.0,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"a sample without end ends it",
     {{0, 0.0}, {4000, 0.0}, {8000, 0.0}, {9000, endless}, {10000, 0.0}, {14000, 0.0}},
     1,
     0.0,
     "waypoint detected:   1 points,     0ms interval, 0.00m deviation\n"},
    {"a clock that goes back is waited for",
     {{5000, 0.0}, {0, 0.0}, {7500, 0.25}, {10000, 0.75}, {13000, 0.0}},
     3,
     0.5,  // the second sample is 5000 ms before the anchor
     "waypoint detected:   2 points,  2500ms interval, 0.25m deviation\n"},
    {"the distance from the mean, whichever side",
     {{0, 0.0}, {3000, 0.0}, {4000, 1.0}, {5000, 1.0}, {6000, 1.0}, {8000, 0.0}},
     4,
     0.75,
     "waypoint detected:   4 points,  3000ms interval, 0.75m deviation\n"},
};

TEST(standstill_test, averages_the_middle_of_a_standstill) {
  for (const standstill_case &c : standstill_cases) {
    SCOPED_TRACE(c.name);
    const found_standstill found = find_standstill(on_a_line(c.samples));
    EXPECT_STREQ(found.error, nullptr);
    EXPECT_EQ(found.next, c.next);
    EXPECT_DOUBLE_EQ(found.waypoint.x, c.mean);
    EXPECT_EQ(found.waypoint.y, 0.0);
    EXPECT_EQ(found.log, c.log);
  }
}

struct failing_case {
  const char *name;
  std::vector<line_sample> samples;
  const char *message;
};

const failing_case failing_cases[] = {
    {"a single sample", {{0, 0.0}}, "could not detect waypoint"},
    {"7999 ms are too short", {{0, 0.0}, {3000, 0.0}, {5000, 0.0}, {7999, 0.0}}, "could not detect waypoint"},
    {"exactly 2 m away is gone",
     {{0, 0.0}, {3000, 0.0}, {5000, 0.0}, {8000, 2.0}, {9000, 2.0}},
     "could not detect waypoint"},
    {"a dragged anchor's time counts from itself",
     {{0, 0.0}, {1001, 1.0}, {4000, 1.0}, {9000, 2.5}},
     "could not detect waypoint"},
    {"not a number from the start", {{0, nan}, {3000, 0.0}, {5000, 0.0}, {8000, 0.0}}, "could not detect waypoint"},
    {"not a number after 8000 ms", {{0, 0.0}, {5000, 0.0}, {9000, nan}, {18000, 0.0}}, "could not detect waypoint"},
    {"a gap that is not a number before the standstill",
     {{0, 0.0}, {1000, nan}, {2000, 0.0}, {6000, 0.0}, {11000, 0.0}, {12000, 0.0}},
     "could not detect waypoint"},
    {"not a number while dragging",
     {{0, endless}, {1000, 0.0}, {5000, 0.0}, {10000, endless}},
     "could not detect waypoint"},
    {"without end", {{0, 0.0}, {1000, endless}, {9001, endless}, {20000, endless}}, "could not detect waypoint"},
    {"nothing is left between the ends", {{0, 0.0}, {8000, 0.0}}, "not enough points for waypoint"},
    {"nothing but the first and last 1999 ms",
     {{0, 0.0}, {1000, 0.0}, {1999, 0.0}, {6001, 0.0}, {8000, 0.0}},
     "not enough points for waypoint"},
};

TEST(standstill_test, reports_what_is_missing) {
  for (const failing_case &c : failing_cases) {
    SCOPED_TRACE(c.name);
    const found_standstill found = find_standstill(on_a_line(c.samples));
    EXPECT_STREQ(found.error, c.message);
    EXPECT_EQ(found.log, "");
  }
}

TEST(standstill_test, keeps_21_samples_of_8_seconds_at_5_per_second) {
  hand_made_walk walk;
  stand(walk, 8.0);
  jump_to(walk, {20.0, 0.0, 0.0});
  add_sample(walk);
  // Those of 2000 to 6000 ms.
  const found_standstill found = find_standstill(walk.samples);
  EXPECT_EQ(found.log, "waypoint detected:  21 points,  4000ms interval, 0.00m deviation\n");
  EXPECT_EQ(found.next, 30U);
}

TEST(standstill_test, runs_on_from_7_8_seconds_into_the_next_standstill) {
  hand_made_walk walk;
  stand(walk, 7.8);
  jump_to(walk, {20.0, 0.0, 0.0});
  stand(walk, 9.0);
  const found_standstill found = find_standstill(walk.samples);
  EXPECT_EQ(found.log, "waypoint detected:  26 points,  5000ms interval, 0.00m deviation\n");
  EXPECT_EQ(found.waypoint.x, 20.0);
}

TEST(standstill_test, looks_from_its_start_on) {
  const std::vector<gps_point> samples =
      on_a_line({{0, 0.0}, {4000, 0.0}, {9000, 0.0}, {11500, 0.0}, {14000, 0.0}, {17000, 0.0}});
  const found_standstill found = find_standstill(samples, 2);
  // The anchor is at 9000 ms: 11500 and 14000 ms are at least 2000 ms from both ends.
  EXPECT_EQ(found.log, "waypoint detected:   2 points,  2500ms interval, 0.00m deviation\n");
  EXPECT_EQ(found.next, 4U);
  EXPECT_STREQ(find_standstill(samples, 3).error, "could not detect waypoint");
  EXPECT_STREQ(find_standstill(samples, 6).error, "could not detect waypoint");
}

// 2-3-6 and 1-2-2 are sides of boxes with diagonals of 7 and 3; here scaled to diagonals of 2 and 1.5.
TEST(standstill_test, measures_in_all_three_directions_and_averages_each) {
  std::vector<gps_point> samples = on_a_line({{0, 0.0}, {3000, 0.0}, {6000, 0.0}, {9000, 0.0}, {10000, 0.0}});
  samples[1].pos_ecef = {0.5, 1.0, 1.0};
  samples[2].pos_ecef = {-0.5, 1.0, -1.0};
  samples[4].pos_ecef = {4.0 / 7.0, 6.0 / 7.0, 12.0 / 7.0 + 1e-12};
  const found_standstill found = find_standstill(samples);
  EXPECT_EQ(found.waypoint.x, 0.0);
  EXPECT_EQ(found.waypoint.y, 1.0);
  EXPECT_EQ(found.waypoint.z, 0.0);
  // sqrt(0.25 + 1)
  EXPECT_EQ(found.log, "waypoint detected:   2 points,  3000ms interval, 1.12m deviation\n");
  EXPECT_EQ(found.next, 2U);
}

TEST(standstill_test, takes_times_at_the_ends_of_the_clock) {
  constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
  // From the latest to the earliest time is a step of one millisecond on a clock that wraps.
  const found_standstill found =
      find_standstill(on_a_line({{latest, 0.0}, {earliest, 0.0}, {earliest + 2999, 0.0}, {earliest + 7999, 0.0}}));
  EXPECT_STREQ(found.error, nullptr);
  EXPECT_EQ(found.next, 2U);
}

}  // namespace
}  // namespace tarvel
