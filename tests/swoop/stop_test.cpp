#include "swoop/stop.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct stop_row {
  double descent = 0.0;  // m/s
  double speed = 0.0;    // m/s in plan
  double heading = 0.0;
  double height = 10.0;  // m
};

using stop_rows = std::vector<stop_row>;

// Sample 1 is the dive, sample 2 fixes the swoop's heading, sample 4 stands.
stop_rows plain_stop() {
  return {{0.0, 10.0, 0.0, 700.0}, {30.0, 20.0, 90.0}, {1.0, 5.0, 10.0}, {0.0, 3.0, 20.0}, {0.0, 0.1, 20.0}};
}

struct stop_case {
  const char *name;
  void (*change)(stop_rows &rows);
  std::uint32_t expected;
  error_slot message;
};

constexpr const char *no_dive = "could not detect dive";
constexpr const char *no_heading = "could not determine swoop heading";
constexpr const char *no_end = "did not detect end of motion after swoop";

const stop_case stop_cases[] = {
    {"a plain stop", [](stop_rows &) {}, 4, nullptr},
    {"a speed of exactly 2 mph is motion", [](stop_rows &r) { r[4].speed = from_mph(2.0); }, 0, no_end},
    {"just below it stands", [](stop_rows &r) { r[4].speed = from_mph_below(2.0); }, 4, nullptr},
    {"a heading 45 degrees off is still the swoop", [](stop_rows &r) { r[3].heading = 55.0; }, 4, nullptr},
    {"one more than 45 degrees off ends it", [](stop_rows &r) { r[3].heading = 55.0 + 1e-9; }, 3, nullptr},
    {"45 degrees off to the left", [](stop_rows &r) { r[3].heading = 325.0; }, 4, nullptr},
    {"more to the left", [](stop_rows &r) { r[3].heading = 324.9; }, 3, nullptr},
    {"the sample that fixes the heading may stand", [](stop_rows &r) { r[2].speed = 0.5; }, 2, nullptr},
    {"a descent of exactly 10 mph is not level; the next sample's heading counts",
     [](stop_rows &r) {
       r[2].descent = from_mph(10.0);
       r[3].heading = 60.0;
     },
     4, nullptr},
    {"just below it is level",
     [](stop_rows &r) {
       r[2].descent = from_mph_below(10.0);
       r[3].heading = 60.0;
     },
     3, nullptr},
    {"exactly 20 mph is not slow",
     [](stop_rows &r) {
       r[2].speed = from_mph(20.0);
       r[3].heading = 60.0;
     },
     4, nullptr},
    {"just below it is slow",
     [](stop_rows &r) {
       r[2].speed = from_mph_below(20.0);
       r[3].heading = 60.0;
     },
     3, nullptr},
    {"a slow and level sample before the dive does not count",
     [](stop_rows &r) {
       r[1] = {0.0, 0.1, 0.0};
       r[2].descent = 30.0;
     },
     4, nullptr},
    {"the dive itself may be slow and level",
     [](stop_rows &r) {
       for (stop_row &row : r) row.descent = 0.0;
       r[1] = {1.0, 0.5, 0.0};
     },
     1, nullptr},
    {"no dive", [](stop_rows &r) { r[1].descent = r[2].descent = 0.0; }, 0, no_dive},
    {"never slow",
     [](stop_rows &r) {
       for (stop_row &row : r) row.speed = 30.0;
     },
     0, no_heading},
    {"never level",
     [](stop_rows &r) {
       for (stop_row &row : r) row.descent = 20.0;
     },
     0, no_heading},
    {"never at rest", [](stop_rows &r) { r[4].speed = 3.0; }, 0, no_end},
    {"a heading that is not a number is not off", [](stop_rows &r) { r[3].heading = not_a_number; }, 4, nullptr},
    {"a speed that is not a number is motion", [](stop_rows &r) { r[4].speed = not_a_number; }, 0, no_end},
};

TEST(stop_test, finds_the_end_of_motion_after_the_swoop) {
  for (const stop_case &c : stop_cases) {
    SCOPED_TRACE(c.name);
    stop_rows rows = plain_stop();
    c.change(rows);
    std::vector<gps_point> samples;
    for (const stop_row &row : rows) {
      gps_point sample;
      sample.pos_local.z = row.height;
      sample.vel_local = {0.0, -row.speed, -row.descent};
      sample.heading = row.heading;
      samples.push_back(sample);
    }
    swoop run = run_of(samples);
    run.pattern_entry = 1;
    error_slot error = nullptr;
    detect_stop(run, &error);
    EXPECT_STREQ(error, c.message);
    EXPECT_EQ(run.stop, c.expected);
  }
}

}  // namespace

}  // namespace tarvel
