#include "container/tvl_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/container_bytes.h"
#include "support/files.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;
using enum outcome;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

owned_array<vec3> pond_of(const std::vector<vec3> &points) {
  owned_array<vec3> pond;
  EXPECT_TRUE(try_zeroed(pond, points.size()));
  std::copy(points.begin(), points.end(), pond.get());
  return pond;
}

outcome read_swoop_bytes(const std::string &bytes, gps_track &track, error_slot *error) {
  return read_swoop_stream(open_bytes(bytes).get(), track, error);
}

outcome read_gate_bytes(const std::string &bytes, gate_file_data &gate, error_slot *error) {
  return read_gate_stream(open_bytes(bytes).get(), gate, error);
}

TEST(tvl_file_test, writes_a_gate_byte_by_byte) {
  gate_file_data gate;
  gate.matrix = {};
  for (auto &row : gate.matrix.m) {
    for (auto &element : row) element = 1.0;
  }
  gate.matrix.m[2][3] = -2.0;  // row 2, column 3: element 11
  gate.theta = 0.5;
  gate.pond = pond_of({{1.0, -2.0, 9.0}, {0.0, 0.0, 3.0}, {0.0, 0.0, 0.0}});
  gate.track.count = 7;  // not used

  const std::string one = "\x3F\xF0\x00\x00\x00\x00\x00\x00"s;
  const std::string minus_two = "\xC0\x00\x00\x00\x00\x00\x00\x00"s;
  std::string expected =
      "uTVL\x00\x1A\x00\x00\x00\x00\x00\x00\x00\x1A\x00\x10\x00\x01\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x02\x00\x00\x00\x00\x00\x00\x00\x2A\x00\x00\x00\xB0"  // gate, at 42, 144 + 2 * 16 = 176
      "\x00\x90"s;
  for (int i = 0; i < 16; ++i) expected += i == 11 ? minus_two : one;
  expected += "\x3F\xE0\x00\x00\x00\x00\x00\x00\x00\x10\x00\x00\x00\x02"s;
  expected += one + minus_two + std::string(16, '\0');
  ASSERT_EQ(expected.size(), 26U + 16 + 144 + 16 * 2);
  EXPECT_EQ(gate_bytes(gate), expected);
}

TEST(tvl_file_test, writes_a_swoop_byte_by_byte) {
  gps_point samples[2];
  samples[0].time = 0x0102030405060708;
  samples[0].pos_wgs84 = {1.0, 1.0, 1.0};
  samples[1].numsv = 9;
  samples[1].pos_ecef.x = 1.0;  // derived: not stored
  const std::string one = "\x3F\xF0\x00\x00\x00\x00\x00\x00"s;
  const std::string expected =
      "uTVL\x00\x1A\x00\x00\x00\x00\x00\x00\x00\x1A\x00\x10\x00\x01\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x01\x00\x00\x00\x00\x00\x00\x00\x2A\x00\x00\x00\x94"  // swoop, at 42, 8 + 2 * 70 = 148
      "\x00\x08\x00\x46\x00\x00\x00\x02"
      "\x01\x02\x03\x04\x05\x06\x07\x08"s +
      one + one + one + std::string(38, '\0') + std::string(69, '\0') + "\x09";
  ASSERT_EQ(expected.size(), 26U + 16 + 8 + 70 * 2);
  EXPECT_EQ(swoop_bytes(samples), expected);
}

// Any bits at all: infinities, numbers that are none with their payload, denormals.
TEST(tvl_file_test, restores_a_swoop_bit_for_bit) {
  std::mt19937_64 random(3);
  constexpr std::size_t measured = 78;  // bytes of the measured fields, from time to numsv
  static_assert(offsetof(gps_point, numsv) < measured);
  std::vector<gps_point> samples(1000);
  for (gps_point &sample : samples) {
    unsigned char bytes[measured];
    for (unsigned char &byte : bytes) byte = static_cast<unsigned char>(random());
    std::memcpy(static_cast<void *>(&sample), bytes, offsetof(gps_point, numsv) + 1);
    if (random() % 4 == 0) sample.pos_wgs84.x = not_a_number;
    if (random() % 4 == 0) sample.sacc = -0.0F;
    sample.pos_local = {1.0, 2.0, 3.0};
    sample.turn_rate = 4.0;
  }
  // A signalling one in each width.
  std::memcpy(&samples[0].vel_ltp.x, "\x01\x00\x00\x00\x00\x00\xF0\x7F", 8);
  std::memcpy(&samples[0].hacc, "\x01\x00\x80\x7F", 4);
  error_slot error = "not cleared";
  gps_track track;
  ASSERT_EQ(read_swoop_bytes(swoop_bytes(samples), track, &error), done);
  ASSERT_EQ(error, nullptr);
  ASSERT_EQ(track.count, 1000U);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(std::memcmp(&track.points[i], &samples[i], offsetof(gps_point, numsv) + 1), 0) << i;
    ASSERT_EQ(track.points[i].pos_ecef.x, 0.0);
    ASSERT_EQ(track.points[i].pos_local.x, 0.0);
    ASSERT_EQ(track.points[i].acc_local.z, 0.0);
    ASSERT_EQ(track.points[i].turn_rate, 0.0);
  }
}

// Blocks that the heap gives out again still hold what was in them.
TEST(tvl_file_test, zeroes_the_derived_fields_in_used_memory) {
  const std::string bytes = swoop_bytes(std::vector<gps_point>(2));
  {
    owned_array<gps_point> used[16];
    for (owned_array<gps_point> &block : used) {
      ASSERT_TRUE(try_resize(block, 2));
      std::memset(static_cast<void *>(block.get()), 0xA5, 2 * sizeof(gps_point));
    }
  }
  gps_track track;
  error_slot error = "not cleared";
  ASSERT_EQ(read_swoop_bytes(bytes, track, &error), done);
  ASSERT_EQ(error, nullptr);
  for (const gps_point &sample : samples_of(track)) {
    EXPECT_EQ(sample.pos_ecef.x, 0.0);
    EXPECT_EQ(sample.vel_local.y, 0.0);
    EXPECT_EQ(sample.dive_angle, 0.0);
    EXPECT_EQ(sample.turn_rate, 0.0);
  }
}

TEST(tvl_file_test, writes_a_stretch_of_a_track) {
  std::vector<gps_point> samples(10);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = static_cast<std::int64_t>(i);
  error_slot error = nullptr;
  gps_track track;
  EXPECT_EQ(read_swoop_bytes(swoop_bytes(std::span(samples).subspan(3, 4)), track, &error), done);
  ASSERT_EQ(track.count, 4U);
  EXPECT_EQ(track.points[0].time, 3);
  EXPECT_EQ(track.points[3].time, 6);
}

TEST(tvl_file_test, accepts_a_swoop_of_no_samples) {
  const std::string bytes = swoop_bytes({});
  EXPECT_EQ(bytes.size(), 50U);
  gps_track track;
  ASSERT_TRUE(try_zeroed(track.points, 3));
  track.count = 3;
  error_slot error = "not cleared";
  EXPECT_EQ(read_swoop_bytes(bytes, track, &error), done);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(track.count, 0U);
}

struct pond_case {
  const char *name;
  std::vector<vec3> points;  // none: no perimeter
  std::size_t count;
};

const pond_case pond_cases[] = {
    {"no perimeter", {}, 0},
    {"a terminator alone", {{0.0, 0.0, 0.0}}, 0},
    {"minus zero ends the list", {{1.0, 1.0, 0.0}, {-0.0, 0.0, -0.0}, {2.0, 2.0, 0.0}}, 1},
    {"a height alone does not", {{0.0, 0.0, 0.5}, {0.0, 0.0, 0.0}}, 1},
    {"x alone does not", {{0.5, 0.0, 0.0}, {0.0, 0.0, 0.0}}, 1},
    {"y alone does not", {{0.0, -0.5, 0.0}, {0.0, 0.0, 0.0}}, 1},
    {"what is no number does not",
     {{not_a_number, 0.0, 0.0}, {0.0, not_a_number, 0.0}, {0.0, 0.0, not_a_number}, {}},
     3},
    {"the first terminator counts", {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}, {}, {}}, 2},
};

TEST(tvl_file_test, restores_a_gate_without_its_heights) {
  for (const pond_case &c : pond_cases) {
    SCOPED_TRACE(c.name);
    gate_file_data gate;
    gate.matrix.m[3][2] = 1e300;
    gate.theta = -3.5;
    if (!c.points.empty()) gate.pond = pond_of(c.points);
    EXPECT_EQ(pond_points(gate.pond.get()).size(), c.count);

    const std::string bytes = gate_bytes(gate);
    EXPECT_EQ(bytes.size(), 26 + 16 + 144 + 16 * c.count);

    gate_file_data read;
    read.track.count = 5;
    error_slot error = "not cleared";
    ASSERT_EQ(read_gate_bytes(bytes, read, &error), done);
    ASSERT_EQ(error, nullptr);
    EXPECT_EQ(std::memcmp(&read.matrix, &gate.matrix, sizeof gate.matrix), 0);
    EXPECT_EQ(read.theta, -3.5);
    EXPECT_EQ(read.track.count, 5U);
    ASSERT_NE(read.pond, nullptr);
    for (std::size_t i = 0; i < c.count; ++i) {
      EXPECT_EQ(std::memcmp(&read.pond[i], &gate.pond[i], 2 * sizeof(double)), 0);
      EXPECT_EQ(read.pond[i].z, 0.0);
    }
    EXPECT_EQ(std::memcmp(&read.pond[c.count], "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", sizeof(vec3)), 0);
  }
}

// What fits in the stream's buffer is lost only when it is closed; more fails in the middle of the samples.
TEST(tvl_file_test, reports_a_full_disk) {
  const file_handle full(std::fopen("/dev/full", "wb"));
  std::vector<vec3> points(100000, vec3{1.0, 1.0, 1.0});
  points.back() = {};
  gate_file_data gate;
  error_slot error = "not cleared";
  write_gate_stream(full.get(), gate, &error);
  EXPECT_STREQ(error, nullptr);
  gate.pond = pond_of(points);
  write_gate_stream(full.get(), gate, &error);
  EXPECT_STREQ(error, "failed to write gate sample");
  write_swoop_stream(full.get(), std::vector<gps_point>(10000), &error);
  EXPECT_STREQ(error, "failed to write swoop sample");
}

TEST(tvl_file_test, fails_wherever_memory_is_short) {
  gate_file_data gate;
  gate.theta = 1.0;
  const std::string walk = gate_bytes(gate);
  const std::string run = swoop_bytes(std::vector<gps_point>(3));
  for (const bool is_gate : {false, true}) {
    SCOPED_TRACE(is_gate);
    // One request is made: for the points or the samples.
    for (const std::size_t granted : {0U, 1U}) {
      SCOPED_TRACE(granted);
      gps_track track;
      gate_file_data read;
      outcome result = done;
      error_slot error = "not cleared";
      {
        const allocation_limit limit(granted);
        result = is_gate ? read_gate_bytes(walk, read, &error) : read_swoop_bytes(run, track, &error);
      }
      EXPECT_EQ(result, granted == 0 ? no_memory : done);
      EXPECT_STREQ(error, granted == 0 ? "malloc() failed" : nullptr);
      EXPECT_EQ(track.count, granted == 1 && !is_gate ? 3U : 0U);
      EXPECT_EQ(track.points != nullptr, granted == 1 && !is_gate);
      EXPECT_EQ(read.pond != nullptr, granted == 1 && is_gate);
      EXPECT_EQ(read.theta, granted == 1 && is_gate ? 1.0 : 0.0);
    }
  }
}

}  // namespace
}  // namespace tarvel
