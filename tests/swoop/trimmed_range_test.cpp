#include "swoop/trimmed_range.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace tarvel {
namespace {

swoop run_with(const std::vector<std::int64_t> &times, const std::vector<double> &heights) {
  swoop run;
  run.track_len = static_cast<std::uint32_t>(times.size());
  EXPECT_TRUE(try_resize(run.track, times.size()));
  for (std::size_t i = 0; i < times.size(); ++i) {
    run.track[i] = gps_point();
    run.track[i].time = times[i];
    run.track[i].pos_wgs84.z = i < heights.size() ? heights[i] : 0.0;
  }
  return run;
}

// Twelve samples, five seconds apart: 0 s to 55 s.
std::vector<std::int64_t> even_times() {
  std::vector<std::int64_t> times;
  for (std::int64_t i = 0; i < 12; ++i) times.push_back(5000 * i);
  return times;
}

struct start_case {
  const char *name;
  std::uint32_t plane_exit;
  std::uint32_t rollout;
  std::vector<double> heights;
  std::uint32_t first;
};

const start_case start_cases[] = {
    {"the sample before the ten seconds before the exit", 5, 8, {}, 2},  // 25 s - 10 s = 15 s is sample 3
    {"an exit in the first ten seconds", 2, 8, {}, 0},
    {"an exit ten seconds after the first sample", 2, 8, {}, 0},
    {"an exit a sample later", 3, 8, {}, 0},  // 15 s - 10 s = 5 s is sample 1
    {"an exit two samples later", 4, 8, {}, 1},
    {"ten seconds and more before the highest point", 0, 9, {0, 0, 0, 0, 0, 60, 50, 40, 30, 20}, 2},
    {"of equal heights the later one", 0, 9, {0, 0, 0, 0, 60, 60, 50, 40, 30, 20}, 2},
    {"a higher point within the ten seconds", 0, 9, {0, 0, 0, 0, 60, 50, 55, 40, 30, 20}, 1},
    {"a higher point exactly ten seconds before", 0, 9, {0, 0, 0, 0, 60, 40, 50, 40, 30, 20}, 1},
    {"a higher point in the first sample beyond", 0, 9, {0, 0, 0, 60, 40, 40, 50, 40, 30, 20}, 0},
    {"a higher point behind that", 0, 9, {0, 0, 60, 40, 40, 40, 50, 40, 30, 20}, 3},
    {"the rollout itself is the highest", 0, 9, {0, 0, 0, 0, 0, 0, 0, 0, 0, 70}, 6},
    {"a track that starts at its highest point", 0, 9, {90, 80, 70, 60, 50, 40, 30, 20, 10, 0}, 0},
    {"a track that starts less than ten seconds before it", 0, 9, {60, 70, 65, 60, 50, 40, 30, 20, 10, 0}, 0},
    {"a rollout at the first sample", 0, 0, {}, 0},
};

TEST(trimmed_range_test, starts_ten_seconds_before_the_run) {
  for (const start_case &c : start_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_with(even_times(), c.heights);
    run.plane_exit = c.plane_exit;
    run.rollout = c.rollout;
    run.stop = 11;
    EXPECT_EQ(trimmed_range(run).first, c.first);
  }
}

struct end_case {
  const char *name;
  std::uint32_t stop;
  std::int64_t touchdown_time;
  std::uint32_t last;
};

const end_case end_cases[] = {
    {"the first sample more than ten seconds after the stop", 5, 25000, 8},
    {"ten seconds before the last sample", 9, 45000, 11},
    {"a sample more of margin", 8, 40000, 11},
    {"at the last sample", 11, 55000, 11},
    {"a touchdown before the stop", 5, 24999, 11},
    {"a touchdown after the stop", 5, 25001, 11},
    {"no touchdown", 5, 0, 11},
};

TEST(trimmed_range_test, ends_ten_seconds_after_a_touchdown_at_the_stop) {
  for (const end_case &c : end_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_with(even_times(), {});
    run.plane_exit = 1;
    run.stop = c.stop;
    run.touchdown_time = c.touchdown_time;
    EXPECT_EQ(trimmed_range(run).end, c.last + 1);
  }
}

TEST(trimmed_range_test, stays_inside_a_track_of_hostile_times) {
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
  for (const std::uint32_t plane_exit : {0U, 1U}) {
    SCOPED_TRACE(plane_exit);
    swoop run = run_with({greatest, least, greatest, 0}, {3, 4, 5, 1});
    run.plane_exit = plane_exit;
    run.rollout = 2;
    run.stop = 2;
    run.touchdown_time = greatest;
    const sample_range range = trimmed_range(run);
    EXPECT_LT(range.first, range.end);
    EXPECT_LE(range.end, run.track_len);
  }
}

}  // namespace
}  // namespace tarvel
