#include "track/gps_track.h"

#include <gtest/gtest.h>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

struct growth_case {
  const char *name;
  std::uint32_t count;
  std::uint32_t capacity;
  std::uint32_t expected;
};

const growth_case growth_cases[] = {
    {"nothing yet", 0, 0, 4096},
    {"the first sample is in", 1, 4096, 4096},
    {"one slot is free", 4095, 4096, 4096},
    {"the 4097th sample", 4096, 4096, 8192},
    {"the next one", 4097, 8192, 8192},
    {"the 8193rd sample", 8192, 8192, 16384},
};

TEST(gps_track_test, doubles_its_room_when_it_is_full) {
  for (const growth_case &c : growth_cases) {
    SCOPED_TRACE(c.name);
    gps_track track;
    if (c.capacity > 0) {
      ASSERT_TRUE(try_resize(track.points, c.capacity));
      track.points[0].time = 42;
    }
    track.count = c.count;
    track.capacity = c.capacity;
    error_slot error = nullptr;
    EXPECT_TRUE(grow_track(track, &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(track.capacity, c.expected);
    EXPECT_EQ(track.count, c.count);
    track.points[c.expected - 1].time = 43;  // the memory can be written to
    if (c.capacity > 0) {
      EXPECT_EQ(track.points[0].time, 42);
    }
  }
}

TEST(gps_track_test, keeps_its_samples_when_memory_is_short) {
  gps_track track;
  error_slot error = nullptr;
  ASSERT_TRUE(grow_track(track, &error));
  track.count = 4096;
  track.points[4095].time = 42;
  const allocation_limit limit(0);
  EXPECT_FALSE(grow_track(track, &error));
  EXPECT_STREQ(error, "failed to realloc gps_points");
  EXPECT_EQ(track.count, 4096U);
  EXPECT_EQ(track.points[4095].time, 42);
}

TEST(gps_track_test, allocates_nothing_below_its_capacity) {
  gps_track track;
  error_slot error = nullptr;
  ASSERT_TRUE(grow_track(track, &error));
  track.count = 4095;
  const allocation_limit limit(0);
  EXPECT_TRUE(grow_track(track, &error));
}

// Twice 2^31 samples is 0 in 32 bits, for which a realloc would succeed.
TEST(gps_track_test, refuses_more_samples_than_its_count_can_name) {
  gps_track track;
  ASSERT_TRUE(try_resize(track.points, 1));
  track.points[0].time = 42;
  track.count = track.capacity = std::uint32_t{1} << 31;
  error_slot error = nullptr;
  EXPECT_FALSE(grow_track(track, &error));
  EXPECT_STREQ(error, "failed to realloc gps_points");
  EXPECT_EQ(track.points[0].time, 42);
}

}  // namespace
}  // namespace tarvel
