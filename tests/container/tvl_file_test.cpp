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

#include "support/container_bytes.h"
#include "support/files.h"
#include "support/pond_of.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;
using enum outcome;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

outcome read_swoop_bytes(const std::string &bytes, gps_track &track, error_slot *error) {
  return read_swoop_stream(open_bytes(bytes).get(), track, error);
}

outcome read_gate_bytes(const std::string &bytes, course &gate, error_slot *error) {
  return read_gate_stream(open_bytes(bytes).get(), gate, error);
}

TEST(tvl_file_test, writes_a_gate_byte_by_byte) {
  course gate;
  gate.matrix = {};
  for (auto &row : gate.matrix.m) {
    for (auto &element : row) element = 1.0;
  }
  gate.matrix.m[2][3] = -2.0;  // row 2, column 3: element 11
  gate.theta = 0.5;
  gate.pond = pond_of({{1.0, -2.0, 9.0}, {0.0, 0.0, 3.0}, {0.0, 0.0, 0.0}});

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

// All kinds of bits: infinities, NaN with their payload, denormals.
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

// A block that was freed and allocated again still has its old content.
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
  for (const gps_point &sample : std::span(track.points.get(), track.count)) {
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
  std::vector<vec3> points;
  std::size_t written;
  std::size_t read;
};

const pond_case pond_cases[] = {
    {"no points", {}, 0, 0},
    {"zeros alone", {{0.0, 0.0, 0.0}}, 0, 0},
    {"all of them", {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}}, 2, 2},
    {"minus zeros end the list", {{1.0, 1.0, 0.0}, {-0.0, 0.0, -0.0}, {2.0, 2.0, 0.0}}, 1, 1},
    {"x alone does not", {{0.5, 0.0, 0.0}}, 1, 1},
    {"y alone does not", {{0.0, -0.5, 0.0}}, 1, 1},
    {"what is no number does not", {{not_a_number, 0.0, 0.0}, {0.0, not_a_number, 0.0}}, 2, 2},
    {"the first zeros count", {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}, {}, {7.0, 8.0, 9.0}, {}}, 2, 2},
    // Its height is not written: the point that is read is the origin.
    {"a height alone ends it in the reader", {{1.0, 2.0, 3.0}, {0.0, 0.0, 0.5}, {4.0, 5.0, 6.0}}, 3, 1},
    {"and one that is no number", {{1.0, 2.0, 3.0}, {0.0, 0.0, not_a_number}, {4.0, 5.0, 6.0}}, 3, 1},
};

TEST(tvl_file_test, restores_a_gate_without_its_heights) {
  for (const pond_case &c : pond_cases) {
    SCOPED_TRACE(c.name);
    course gate = course_with(-3.5, c.points);
    gate.matrix.m[3][2] = 1e300;

    const std::string bytes = gate_bytes(gate);
    EXPECT_EQ(bytes.size(), 26 + 16 + 144 + 16 * c.written);

    course read;
    error_slot error = "not cleared";
    ASSERT_EQ(read_gate_bytes(bytes, read, &error), done);
    ASSERT_EQ(error, nullptr);
    EXPECT_EQ(std::memcmp(&read.matrix, &gate.matrix, sizeof gate.matrix), 0);
    EXPECT_EQ(read.theta, -3.5);
    ASSERT_TRUE(read.pond);
    ASSERT_EQ(read.pond->count, c.read);
    for (std::size_t i = 0; i < c.read; ++i) {
      EXPECT_EQ(std::memcmp(&read.pond->points[i], &c.points[i], 2 * sizeof(double)), 0);
      EXPECT_EQ(read.pond->points[i].z, 0.0);
    }
    EXPECT_TRUE(append_pond_point(*read.pond, {1.0, 1.0, 1.0}));
  }
}

// A container cannot express the difference.
TEST(tvl_file_test, writes_an_absent_pond_as_an_empty_one) {
  const course absent;
  course empty;
  empty.pond.emplace();
  EXPECT_EQ(gate_bytes(absent), gate_bytes(empty));
  course read;
  error_slot error = "not cleared";
  ASSERT_EQ(read_gate_bytes(gate_bytes(absent), read, &error), done);
  ASSERT_TRUE(read.pond);
  EXPECT_EQ(read.pond->count, 0U);
}

// Bytes that fit in the stream's buffer fail only when it is closed; more fail in the middle of the samples.
TEST(tvl_file_test, reports_a_full_disk) {
  const file_handle full(std::fopen("/dev/full", "wb"));
  course gate;
  error_slot error = "not cleared";
  write_gate_stream(full.get(), gate, &error);
  EXPECT_STREQ(error, nullptr);
  gate.pond = pond_of(std::vector<vec3>(100000, vec3{1.0, 1.0, 1.0}));
  write_gate_stream(full.get(), gate, &error);
  EXPECT_STREQ(error, "failed to write gate sample");
  write_swoop_stream(full.get(), std::vector<gps_point>(10000), &error);
  EXPECT_STREQ(error, "failed to write swoop sample");
}

TEST(tvl_file_test, fails_wherever_memory_is_short) {
  course gate;
  gate.theta = 1.0;
  const std::string walk = gate_bytes(gate);
  const std::string run = swoop_bytes(std::vector<gps_point>(3));
  for (const bool is_gate : {false, true}) {
    SCOPED_TRACE(is_gate);
    const auto attempt = [&](std::size_t granted) {
      gps_track track;
      course read;
      error_slot error = "not cleared";
      const allocation_limit limit(granted);
      const outcome result = is_gate ? read_gate_bytes(walk, read, &error) : read_swoop_bytes(run, track, &error);
      EXPECT_EQ(result, error == nullptr ? done : no_memory);
      EXPECT_EQ(track.count, error == nullptr && !is_gate ? 3U : 0U);
      EXPECT_EQ(track.points != nullptr, error == nullptr && !is_gate);
      EXPECT_EQ(read.pond.has_value(), error == nullptr && is_gate);
      EXPECT_EQ(read.theta, error == nullptr && is_gate ? 1.0 : 0.0);
      return error;
    };
    EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"malloc() failed"});
  }
}

}  // namespace
}  // namespace tarvel
