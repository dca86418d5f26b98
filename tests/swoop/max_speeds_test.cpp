#include "swoop/max_speeds.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct max_speed_case {
  const char *name;
  std::vector<vec3> speeds;  // m/s
  std::uint32_t top_of_turn;
  std::uint32_t rollout;
  std::uint32_t stop;
  std::uint32_t horizontal;
  std::uint32_t vertical;
  std::uint32_t total;
};

const max_speed_case max_speed_cases[] = {
    {"each has its own sample",
     {{}, {1.0, 0.0, -20.0}, {15.0, 0.0, -18.0}, {0.0, 17.0, -2.0}, {1.0, 0.0, 0.0}},
     1,
     2,
     4,
     3,
     1,
     2},
    {"the first of equals", {{}, {3.0, 4.0, -6.0}, {5.0, 0.0, -6.0}, {0.0, 0.0, 0.0}}, 1, 1, 3, 1, 1, 1},
    {"what lies before the top of the turn does not count",
     {{}, {90.0, 0.0, -90.0}, {1.0, 0.0, -1.0}, {}},
     2,
     2,
     3,
     2,
     2,
     2},
    {"the rollout bounds the horizontal speed alone", {{}, {50.0, 0.0, -1.0}, {20.0, 0.0, -2.0}, {}}, 1, 2, 3, 2, 2, 1},
    {"the stop does not count", {{}, {1.0, 0.0, -1.0}, {9.0, 0.0, -9.0}}, 1, 1, 2, 1, 1, 1},
    {"without a positive speed the index is 0", {{}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {}}, 1, 1, 3, 0, 0, 0},
    {"the least speed counts", {{}, {1e-100, 0.0, -1e-100}, {}}, 1, 1, 2, 1, 1, 1},
    {"climbing is no descent", {{}, {0.0, 0.0, 3.0}, {0.0, 0.0, 2.0}, {}}, 1, 1, 3, 0, 0, 1},
    {"an empty span", {{5.0, 5.0, -5.0}, {5.0, 5.0, -5.0}}, 1, 1, 1, 0, 0, 0},
    {"a speed that is not a number is passed over",
     {{}, {not_a_number, 0.0, not_a_number}, {1.0, 0.0, -1.0}, {}},
     1,
     1,
     3,
     2,
     2,
     2},
};

TEST(max_speeds_test, finds_the_first_sample_of_greatest_speed) {
  for (const max_speed_case &c : max_speed_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.speeds.size());
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i].vel_local = c.speeds[i];
    swoop run = run_of(samples);
    run.top_of_turn = c.top_of_turn;
    run.rollout = c.rollout;
    run.stop = c.stop;
    run.max_horz_speed = run.max_vert_speed = run.max_total_speed = 99;
    error_slot error = nullptr;
    detect_max_speeds(run, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(run.max_horz_speed, c.horizontal);
    EXPECT_EQ(run.max_vert_speed, c.vertical);
    EXPECT_EQ(run.max_total_speed, c.total);
  }
}

}  // namespace

}  // namespace tarvel
