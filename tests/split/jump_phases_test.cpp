#include "split/jump_phases.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/units.h"

namespace tarvel {
namespace {

struct dive_case {
  const char *name;
  double dive;  // mph down, at 200 m
  double last;  // mph down, on the ground
  bool has_dive;
};

const dive_case dive_cases[] = {
    {"a dive", 60.0, 0.0, true},
    {"slower than in straight flight", 24.95, 0.0, false},
    {"as fast as in straight flight", 25.0, 0.0, false},
    {"faster than in straight flight", 25.05, 0.0, true},
    {"almost over", 60.0, 10.05, false},
    {"a descent of 10 mph is not over", 60.0, 10.0, false},
    {"over", 60.0, 9.95, true},
};

// Where the equator meets the prime meridian, the vertical is an axis of the earth's frame: the speeds stay as they are.
gps_point sample_at(std::int64_t time, double height, double mph) {
  gps_point sample;
  sample.time = time;
  sample.pos_wgs84.z = height;
  sample.vel_ltp.z = mph / mph_per_mps;
  EXPECT_EQ(mph_per_mps * sample.vel_ltp.z, mph);
  return sample;
}

TEST(jump_phases_test, a_dive_is_faster_than_25_mph_and_then_slower_than_10) {
  for (const dive_case &c : dive_cases) {
    SCOPED_TRACE(c.name);
    const std::vector<gps_point> samples = {sample_at(0, 600.0, 15.0), sample_at(1000, 200.0, c.dive),
                                            sample_at(2000, 0.0, c.last)};
    error_slot error = nullptr;
    EXPECT_EQ(find_jump_phases(samples, &error).has_dive, c.has_dive);
    EXPECT_EQ(error, nullptr);
  }
}

}  // namespace
}  // namespace tarvel
