#include "swoop/swoop.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/hand_made_run.h"
#include "support/refusals.h"
#include "support/warnings.h"

namespace tarvel {

namespace {

constexpr const char *two_rows =
    "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,gpsFix,numSV\n"
    ",(deg),(deg),(m),(m/s),(m/s),(m/s),(m),(m),(m/s),,\n"
    "2024-06-01T10:00:00.00Z,48.0,11.0,500.0,1.0,2.0,3.0,1.5,2.5,0.5,3,12\n"
    "2024-06-01T10:00:00.20Z,48.0001,11.0,499.0,1.0,2.0,3.0,1.5,2.5,0.5,3,12\n";

TEST(swoop_test, is_empty_without_a_track) {
  error_slot error = "left over";
  const owned_record<swoop> run = swoop_create(&error);
  ASSERT_NE(run, nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(run->file, nullptr);
  EXPECT_EQ(run->track, nullptr);
  EXPECT_EQ(run->track_len, 0U);
  EXPECT_EQ(run->gate_type, 0);
  EXPECT_TRUE(run->matrix == mat4());
}

owned_record<swoop> swoop_of(const std::string &text, text_buffer &warnings, error_slot *error) {
  return swoop_create(open_bytes(text).get(), "run.csv", warnings, error);
}

TEST(swoop_test, holds_the_track_of_its_stream) {
  warning_buffer warnings;
  error_slot error = "left over";
  const owned_record<swoop> run = swoop_of(two_rows, warnings, &error);
  ASSERT_NE(run, nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_STREQ(run->file.get(), "run.csv");
  ASSERT_EQ(run->track_len, 2U);
  EXPECT_EQ(run->track[1].pos_wgs84.x, 48.0001);
  EXPECT_EQ(run->track[1].time - run->track[0].time, 200);
  EXPECT_FALSE(run->debug);
  EXPECT_EQ(run->time_aloft, 0U);
  EXPECT_EQ(run->stop, 0U);
}

struct range_case {
  const char *name;
  sample_range range;
  std::size_t first;
  std::size_t count;
};

const range_case range_cases[] = {
    {"all", {}, 0, 5},
    {"a part", {1, 3}, 1, 2},
    {"up to the end", {3, 5}, 3, 2},
    {"beyond the end", {3, 6}, 3, 2},
    {"none", {2, 2}, 2, 0},
    {"the end before the first", {3, 2}, 2, 0},
    {"a first beyond the end", {6, 7}, 5, 0},
};

TEST(swoop_test, has_samples_of_a_range) {
  swoop run;
  ASSERT_TRUE(try_resize(run.track, 5));
  run.track_len = 5;
  for (const range_case &c : range_cases) {
    SCOPED_TRACE(c.name);
    const std::span<const gps_point> samples = samples_of(run, c.range);
    EXPECT_EQ(samples.data(), run.track.get() + c.first);
    EXPECT_EQ(samples.size(), c.count);
  }
}

TEST(swoop_test, passes_the_loaders_message_on) {
  warning_buffer warnings;
  error_slot error = nullptr;
  EXPECT_EQ(swoop_of("hello\n", warnings, &error), nullptr);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(warnings.text(), "WARNING: unknown field (hello)\n");
  EXPECT_EQ(swoop_create(open_failing_bytes(two_rows, 40).get(), "run.csv", warnings, &error), nullptr);
  EXPECT_STREQ(error, "failed to read track");
}

TEST(swoop_test, reports_what_could_not_be_allocated) {
  const auto attempt = [](std::size_t granted) {
    error_slot error = nullptr;
    warning_buffer warnings;
    const allocation_limit limit(granted);
    const owned_record<swoop> run = swoop_of(two_rows, warnings, &error);
    EXPECT_EQ(run == nullptr, error != nullptr);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt),
            (std::vector<std::string>{"failed to allocate memory for swoop", "strdup() failed",
                                      "failed to malloc file.block_ptr", "invalid field names",
                                      "failed to realloc gps_points"}));
}

TEST(swoop_test, fails_without_memory_for_an_empty_record) {
  const allocation_limit limit(0);
  error_slot error = nullptr;
  EXPECT_EQ(swoop_create(&error), nullptr);
  EXPECT_STREQ(error, "failed to allocate memory for swoop");
}

std::string dump_of(const swoop *run) {
  return bytes_written_by([&](std::FILE *stream) { swoop_dump(stream, run); });
}

swoop full_record() {
  swoop run;
  if (!try_resize(run.file, 8)) throw std::runtime_error("no memory");
  std::snprintf(run.file.get(), 8, "run.csv");
  run.debug = true;
  run.time_aloft = 4294967295U;
  run.gate_type = 1;
  run.rotate_theta = 0.25;
  run.rotate_matrix_in = {
      {{1.0, 0.0, 0.0, 12345.678}, {0.0, 1.0, -0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  run.matrix.m[0][3] = -1234567890.125;
  run.reversal_detected = true;
  run.plane_exit = 11;
  run.pattern_entry = 12;
  run.top_of_turn = 13;
  run.rollout = 14;
  run.bottom_of_turn = 15;
  run.entry_gate = 16;
  run.exit_gate = 17;
  run.stop = 18;
  run.max_vert_speed = 19;
  run.max_horz_speed = 20;
  run.max_total_speed = 21;
  run.carve_direction = 1;
  run.bottom_time = 1717236000123;
  run.bottom_xpos = 1.5;
  run.bottom_ypos = -2.5;
  run.bottom_zpos = 3.5;
  run.entry_gate_time = -5;
  run.entry_gate_speed = 4.5;
  run.entry_gate_ypos = 5.5;
  run.exit_gate_time = INT64_MIN;
  run.exit_gate_speed = 6.5;
  run.exit_gate_xpos = 7.5;
  run.turn_degrees = -270.4;
  run.touchdown_time = 1717236000456;
  run.touchdown_speed = 8.5;
  run.touchdown_distance = 9.5;
  return run;
}

// A null pointer prints as "(nil)"; 4294967295 as a signed number.
constexpr const char *full_dump =
    "swoop->file               = run.csv\n"
    "swoop->track              = (nil)\n"
    "swoop->track_len          = 0\n"
    "swoop->debug              = 1\n"
    "swoop->time_aloft         = -1\n"
    "swoop->gate_type          = 1\n"
    "swoop->rotate_theta       = 0.250000\n"
    "swoop->rotate_matrix_in   = \n"
    "[         1.00         0.00         0.00     12345.68 ]\n"
    "[         0.00         1.00        -0.00         0.00 ]\n"
    "[         0.00         0.00         1.00         0.00 ]\n"
    "[         0.00         0.00         0.00         1.00 ]\n"
    "swoop->rotate_matrix_out  = \n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "swoop->matrix             = \n"
    "[         0.00         0.00         0.00 -1234567890.12 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "[         0.00         0.00         0.00         0.00 ]\n"
    "swoop->reversal_detected  = 1\n"
    "swoop->carve_detected     = 0\n"
    "swoop->plane_exit         = 11\n"
    "swoop->pattern_entry      = 12\n"
    "swoop->top_of_turn        = 13\n"
    "swoop->rollout            = 14\n"
    "swoop->bottom_of_turn     = 15\n"
    "swoop->entry_gate         = 16\n"
    "swoop->exit_gate          = 17\n"
    "swoop->stop               = 18\n"
    "swoop->max_vert_speed     = 19\n"
    "swoop->max_horz_speed     = 20\n"
    "swoop->max_total_speed    = 21\n"
    "swoop->carve_direction    = 1\n"
    "swoop->bottom_time        = 1717236000123\n"
    "swoop->bottom_xpos        = 1.500000\n"
    "swoop->bottom_ypos        = -2.500000\n"
    "swoop->bottom_zpos        = 3.500000\n"
    "swoop->entry_gate_time    = -5\n"
    "swoop->entry_gate_speed   = 4.500000\n"
    "swoop->entry_gate_ypos    = 5.500000\n"
    "swoop->exit_gate_time     = -9223372036854775808\n"
    "swoop->exit_gate_speed    = 6.500000\n"
    "swoop->exit_gate_xpos     = 7.500000\n"
    "swoop->turn_degrees       = -270.400000\n"
    "swoop->touchdown_time     = 1717236000456\n"
    "swoop->touchdown_speed    = 8.500000\n"
    "swoop->touchdown_distance = 9.500000\n"
    "\n";

TEST(swoop_dump_test, prints_every_field) {
  const swoop run = full_record();
  EXPECT_EQ(dump_of(&run), full_dump);
}

TEST(swoop_dump_test, prints_nothing_for_null) { EXPECT_EQ(dump_of(nullptr), ""); }

std::size_t count(const std::string &text, const std::string &part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

TEST(swoop_dump_test, prints_up_to_three_samples) {
  const std::size_t lengths[] = {0, 1, 2, 3, 4};
  const std::size_t printed[] = {0, 1, 2, 3, 3};
  for (std::size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(lengths[i]);
    std::vector<gps_point> samples(lengths[i]);
    for (std::size_t k = 0; k < samples.size(); ++k) samples[k].time = 1000 + static_cast<std::int64_t>(k);
    const swoop run = run_of(samples);
    const std::string text = dump_of(&run);
    EXPECT_EQ(count(text, "gps_point->turn_rate"), printed[i]);
    EXPECT_EQ(count(text, "gps_point->time       = 1002\n"), printed[i] >= 3 ? 1U : 0U);
    EXPECT_EQ(count(text, "swoop->track_len          = " + std::to_string(lengths[i]) + "\n"), 1U);
    if (lengths[i] > 0) {
      EXPECT_NE(text.find("touchdown_distance = 0.000000\n\ngps_point->time       = 1000\n"), std::string::npos);
    }
  }
}

}  // namespace

}  // namespace tarvel
