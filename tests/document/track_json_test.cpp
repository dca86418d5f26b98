#include "document/track_json.h"

#include <gtest/gtest.h>

#include "support/hand_made_run.h"

namespace tarvel {
namespace {

json overview_of(std::span<const gps_point> samples) {
  document_text text;
  append_overview(text, samples);
  return json::parse(std::string_view(text.data.get(), text.size));
}

json samples_of_document(const swoop &run) {
  document_text text;
  append_samples(text, run);
  return json::parse(std::string_view(text.data.get(), text.size));
}

// Samples with this interval in ms, at heights of 0, 1, 2, ... m.
std::vector<gps_point> rising_samples(std::size_t count, std::int64_t interval) {
  std::vector<gps_point> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i].time = 5'000'000 + static_cast<std::int64_t>(i) * interval;
    samples[i].pos_wgs84.z = static_cast<double>(i);
  }
  return samples;
}

TEST(overview_test, has_every_sample_of_a_short_track) {
  const json overview = overview_of(rising_samples(overview_points, 100));
  ASSERT_EQ(overview["time"].size(), overview_points);
  EXPECT_EQ(overview["time"][3], 300);
  EXPECT_EQ(overview["height"][3], 3000);
}

TEST(overview_test, has_the_extremes_of_a_long_track) {
  std::vector<gps_point> samples = rising_samples(100'000, 100);  // 50 samples a slice
  samples[70].pos_wgs84.z = -7.0;
  samples[60].pos_wgs84.z = 9999.0;
  const json overview = overview_of(samples);
  ASSERT_EQ(overview["time"].size(), overview_points);
  EXPECT_EQ(overview["height"][0], 0);
  EXPECT_EQ(overview["height"][1], 49'000);
  // In the order of the track, not the lowest first.
  EXPECT_EQ(overview["height"][2], 9'999'000);
  EXPECT_EQ(overview["time"][2], 6000);
  EXPECT_EQ(overview["height"][3], -7000);
  EXPECT_EQ(overview["time"].back(), 9'999'900);
}

TEST(overview_test, divides_as_many_samples_as_a_track_may_have) {
  EXPECT_EQ(first_of_slice(4001, 0), 0U);
  EXPECT_EQ(first_of_slice(4001, 1999), 3998U);  // 3998.9995
  EXPECT_EQ(first_of_slice(4001, 2000), 4001U);
  EXPECT_EQ(first_of_slice(2'200'000, 1999), 2'198'900U);
  EXPECT_EQ(first_of_slice(4'294'967'295, 2000), 4'294'967'295U);
}

TEST(overview_test, passes_over_heights_that_are_no_numbers) {
  std::vector<gps_point> samples = rising_samples(100'000, 100);
  samples[0].pos_wgs84.z = not_a_number;
  samples[50].pos_wgs84.z = endless;
  const json overview = overview_of(samples);
  EXPECT_EQ(overview["height"][0], 1000);
  EXPECT_EQ(overview["height"][1], 49'000);
  EXPECT_TRUE(overview["height"][2].is_null());
}

struct rate_case {
  const char *name;
  std::vector<std::int64_t> times;
  json rate;
};

const rate_case rate_cases[] = {
    {"ten a second", {0, 100, 200, 300}, 10.0},
    {"a gap does not count", {0, 200, 400, 90'000, 90'200}, 5.0},
    {"one sample", {0}, nullptr},
    {"no sample", {}, nullptr},
    {"a clock that stands", {7, 7, 7}, nullptr},
    {"thirds are rounded", {0, 300, 600}, 3.333},
    {"the first interval is another", {0, 50, 250, 450, 650}, 5.0},
    {"half of the intervals are the first", {0, 300, 600, 700, 900}, 5.0},
    {"all intervals differ", {0, 300, 400, 600}, 5.0},
};

TEST(rate_test, is_that_of_the_median_interval) {
  for (const rate_case &c : rate_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.times.size());
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = c.times[i];
    EXPECT_EQ(rate_as_json(samples), c.rate);
  }
}

// A turn at sample 200 and a stop at 300.
swoop run_with_turn(std::size_t count, std::int64_t interval) {
  swoop run = run_of(rising_samples(count, interval));
  run.top_of_turn = 200;
  run.stop = 300;
  return run;
}

TEST(samples_test, begin_15_seconds_before_the_turn_and_end_5_seconds_behind_the_stop) {
  const json samples = samples_of_document(run_with_turn(1000, 100));
  EXPECT_EQ(samples["first"], 50);
  EXPECT_EQ(samples["count"], 301);
  EXPECT_EQ(samples["time"].front(), 5000);
  EXPECT_EQ(samples["time"].back(), 35'000);
  for (const auto &[name, column] : samples.items()) {
    if (!column.is_array()) continue;
    EXPECT_EQ(column.size(), 301U) << name;
  }
}

TEST(samples_test, end_with_the_track) {
  const json samples = samples_of_document(run_with_turn(301, 1000));
  EXPECT_EQ(samples["first"], 185);
  EXPECT_EQ(samples["count"], 116);
}

// Where the clock stands still, the whole track is within the time limit.
TEST(samples_test, are_limited_whatever_the_clock_says) {
  swoop run = run_of(rising_samples(10'000, 0));
  run.top_of_turn = 5000;
  run.stop = 5001;
  const json samples = samples_of_document(run);
  EXPECT_EQ(samples["first"], 3000);
  EXPECT_EQ(samples["count"], 4002);
}

TEST(samples_test, are_millimetres_and_hundredths_of_degrees) {
  swoop run = run_with_turn(301, 1000);
  gps_point &sample = run.track[200];
  sample.pos_local = {1.2345, -0.0004, not_a_number};
  sample.vel_local = {1e300, -12.3456, 9'007'199'254'740.992};
  sample.heading = 359.996;
  sample.turn_rate = -0.126;
  sample.hacc = 0.25F;
  const json samples = samples_of_document(run);
  EXPECT_EQ(samples["x"][15], 1235);
  EXPECT_EQ(samples["y"][15], 0);
  EXPECT_TRUE(samples["z"][15].is_null());
  EXPECT_TRUE(samples["vx"][15].is_null());
  EXPECT_EQ(samples["vy"][15], -12'346);
  EXPECT_EQ(samples["vz"][15], greatest_json_integer);
  EXPECT_EQ(samples["heading"][15], 36'000);
  EXPECT_EQ(samples["turn_rate"][15], -13);
  EXPECT_EQ(samples["hacc"][15], 250);
}

}  // namespace
}  // namespace tarvel
