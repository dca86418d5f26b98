#include "track/gps_track.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

void fill(gps_track &track) {
  for (; track.count < track.capacity; ++track.count) track.points[track.count].time = track.count;
}

TEST(gps_track_test, doubles_its_room_when_it_is_full) {
  gps_track track;
  for (int growth = 0; growth < 4; ++growth) {
    SCOPED_TRACE(growth);
    const std::uint32_t count = track.count;
    error_slot error = nullptr;
    EXPECT_TRUE(grow_track(track, &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(track.count, count);
    ASSERT_EQ(track.capacity, std::max(2 * count, 4096U));
    fill(track);  // the memory can be written to
    for (std::uint32_t i = 0; i < track.count; ++i) ASSERT_EQ(track.points[i].time, i);
  }
}

TEST(gps_track_test, keeps_its_samples_when_memory_is_short) {
  gps_track track;
  error_slot error = nullptr;
  ASSERT_TRUE(grow_track(track, &error));
  fill(track);
  const allocation_limit limit(0);
  EXPECT_FALSE(grow_track(track, &error));
  EXPECT_STREQ(error, "failed to realloc gps_points");
  EXPECT_EQ(track.count, track.capacity);
  EXPECT_EQ(track.points[track.count - 1].time, track.count - 1);
}

TEST(gps_track_test, allocates_nothing_below_its_capacity) {
  gps_track track;
  error_slot error = nullptr;
  ASSERT_TRUE(grow_track(track, &error));
  track.count = track.capacity - 1;
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
