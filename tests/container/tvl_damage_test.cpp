// Containers that were cut, changed or rearranged.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "container/tvl_file.h"
#include "support/allocation_limit.h"
#include "support/files.h"
#include "support/pond_of.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;
using enum outcome;

std::string big_endian(std::uint64_t value, std::size_t width) {
  std::string bytes(width, '\0');
  for (; width > 0; --width, value >>= 8) bytes[width - 1] = static_cast<char>(value & 0xFF);
  return bytes;
}

std::string file_header(std::uint64_t table_offset) {
  return "uTVL\x00\x1A"s + big_endian(table_offset, 8) + "\x00\x10\x00\x01"s + std::string(8, '\0');
}

std::string entry(std::uint32_t type, std::uint64_t offset, std::uint32_t size) {
  return big_endian(type, 4) + big_endian(offset, 8) + big_endian(size, 4);
}

std::string swoop_header(std::uint32_t count) { return "\x00\x08\x00\x46"s + big_endian(count, 4); }

std::string gate_header(std::uint32_t count) {
  return "\x00\x90"s + std::string(16 * 8, '\x3F') + std::string(8, '\x40') + "\x00\x10"s + big_endian(count, 4);
}

// Two samples: times 0x11... and 0x22..., points of all 0x11 and all 0x22.
const std::string samples_11_22 = std::string(70, '\x11') + std::string(70, '\x22');
const std::string points_11_22 = std::string(16, '\x11') + std::string(16, '\x22');
const std::string good_swoop = file_header(26) + entry(1, 42, 148) + swoop_header(2) + samples_11_22;
const std::string good_gate = file_header(26) + entry(2, 42, 176) + gate_header(2) + points_11_22;

// Reads into records that are not empty, and checks that a failure leaves them unchanged and is not an I/O or memory
// error.
error_slot read_swoop(const std::string &bytes) {
  gps_track track;
  EXPECT_TRUE(try_zeroed(track.points, 1));
  track.points[0].time = 42;
  track.count = 1;
  const file_handle stream = open_bytes(bytes);
  error_slot error = "not cleared";
  const outcome result = read_swoop_stream(stream.get(), track, &error);
  EXPECT_EQ(result, error == nullptr ? done : not_this_form);
  if (error == nullptr) {
    EXPECT_EQ(track.count, 2U);
    EXPECT_EQ(track.points[0].time, 0x1111111111111111);
    EXPECT_EQ(track.points[1].numsv, 0x22);
  } else {
    EXPECT_EQ(track.count, 1U);
    EXPECT_EQ(track.points[0].time, 42);
  }
  return error;
}

error_slot read_gate(const std::string &bytes) {
  course gate = course_with(43.0, {{42.0, 0.0, 0.0}});
  gate.matrix.m[0][0] = 44.0;
  const file_handle stream = open_bytes(bytes);
  error_slot error = "not cleared";
  const outcome result = read_gate_stream(stream.get(), gate, &error);
  EXPECT_EQ(result, error == nullptr ? done : not_this_form);
  if (error == nullptr) {
    EXPECT_EQ(gate.pond->count, 2U);
    EXPECT_NE(gate.theta, 43.0);
  } else {
    EXPECT_EQ(gate.pond->count, 1U);
    EXPECT_EQ(gate.pond->points[0].x, 42.0);
    EXPECT_EQ(gate.theta, 43.0);
    EXPECT_EQ(gate.matrix.m[0][0], 44.0);
  }
  return error;
}

TEST(tvl_damage_test, reads_the_good_files) {
  EXPECT_STREQ(read_swoop(good_swoop), nullptr);
  EXPECT_STREQ(read_gate(good_gate), nullptr);
  EXPECT_STREQ(read_swoop(good_gate), "not a swoop section");
  EXPECT_STREQ(read_gate(good_swoop), "not a gate section");
}

TEST(tvl_damage_test, reports_where_a_file_is_cut) {
  for (std::size_t size = 0; size < good_swoop.size(); ++size) {
    SCOPED_TRACE(size);
    const error_slot expected = size < 26   ? "failed to read TVL header"
                                : size < 42 ? "failed to read section header table entry"
                                : size < 50 ? "failed to read swoop header"
                                            : "failed to read swoop sample";
    EXPECT_STREQ(read_swoop(good_swoop.substr(0, size)), expected);
  }
  for (std::size_t size = 0; size < good_gate.size(); ++size) {
    SCOPED_TRACE(size);
    const error_slot expected = size < 26    ? "failed to read TVL header"
                                : size < 42  ? "failed to read section header table entry"
                                : size < 186 ? "failed to read gate header"
                                             : "failed to read gate sample";
    EXPECT_STREQ(read_gate(good_gate.substr(0, size)), expected);
  }
}

TEST(tvl_damage_test, accepts_bytes_behind_the_section) {
  EXPECT_STREQ(read_swoop(good_swoop + "x"), nullptr);
  EXPECT_STREQ(read_gate(good_gate + "x"), nullptr);
}

struct damage_case {
  std::size_t first;  // the bytes from here to before the next case's
  std::vector<error_slot> messages;
};

// A changed offset refers to other bytes: zeros, samples, the end of the file.
const damage_case swoop_damage[] = {
    {0, {"invalid TVL header"}},
    {6, {"failed to read section header table entry", "not a swoop section"}},
    {14, {"invalid TVL header"}},
    {16, {"more/less than one section"}},
    {18, {nullptr}},
    {26, {"not a swoop section"}},
    {30, {"failed to read swoop header", "invalid swoop header"}},
    {38, {"incorrect swoop section size"}},
    {42, {"invalid swoop header"}},
    {46, {"incorrect swoop section size"}},
    {50, {}},
};

const damage_case gate_damage[] = {
    {0, {"invalid TVL header"}},
    {6, {"failed to read section header table entry", "not a gate section"}},
    {14, {"invalid TVL header"}},
    {16, {"more/less than one section"}},
    {18, {nullptr}},
    {26, {"not a gate section"}},
    {30, {"failed to read gate header", "invalid gate header"}},
    {38, {"incorrect gate section size"}},
    {42, {"invalid gate header"}},
    {44, {nullptr}},
    {180, {"invalid gate header"}},
    {182, {"incorrect gate section size"}},
    {186, {}},
};

void expect_damage_found(const std::string &good, std::span<const damage_case> cases,
                         error_slot (*read)(const std::string &)) {
  for (std::size_t i = 0; i + 1 < cases.size(); ++i) {
    for (std::size_t position = cases[i].first; position < cases[i + 1].first; ++position) {
      // Each single bit, and all of them.
      for (const int change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
        SCOPED_TRACE(testing::Message() << "byte " << position << ", change " << change);
        std::string bytes = good;
        bytes[position] = static_cast<char>(bytes[position] ^ change);
        const error_slot error = read(bytes);
        const bool is_expected = std::any_of(cases[i].messages.begin(), cases[i].messages.end(), [&](error_slot m) {
          return m == error || (m != nullptr && error != nullptr && std::string(m) == error);
        });
        EXPECT_TRUE(is_expected) << (error != nullptr ? error : "no error");
      }
    }
  }
}

TEST(tvl_damage_test, finds_each_changed_bit_of_the_headers) {
  expect_damage_found(good_swoop, swoop_damage, read_swoop);
  expect_damage_found(good_gate, gate_damage, read_gate);
}

struct arrangement_case {
  const char *name;
  std::string bytes;
};

const arrangement_case swoop_arrangements[] = {
    {"the table behind the samples", file_header(26 + 148) + swoop_header(2) + samples_11_22 + entry(1, 26, 148)},
    {"gaps", file_header(30) + "gap1" + entry(1, 55, 148) + "a longer " + swoop_header(2) + samples_11_22},
    {"the table within the samples", file_header(26 + 8 + 20) + swoop_header(2) + std::string(20, '\x11') +
                                         entry(1, 26, 148) + samples_11_22.substr(36)},
};

const arrangement_case gate_arrangements[] = {
    {"the table behind the points", file_header(26 + 176) + gate_header(2) + points_11_22 + entry(2, 26, 176)},
    {"gaps", file_header(30) + "gap1" + entry(2, 55, 176) + "a longer " + gate_header(2) + points_11_22},
};

TEST(tvl_damage_test, follows_the_offsets) {
  for (const arrangement_case &c : swoop_arrangements) {
    SCOPED_TRACE(c.name);
    const file_handle stream = open_bytes(c.bytes);
    gps_track track;
    error_slot error = nullptr;
    ASSERT_EQ(read_swoop_stream(stream.get(), track, &error), done);
    ASSERT_STREQ(error, nullptr);
    ASSERT_EQ(track.count, 2U);
    EXPECT_EQ(track.points[0].time, 0x1111111111111111);
    EXPECT_EQ(track.points[1].time, 0x2222222222222222);
    EXPECT_EQ(track.points[1].numsv, 0x22);
  }
  for (const arrangement_case &c : gate_arrangements) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(read_gate(c.bytes), nullptr);
  }
}

TEST(tvl_damage_test, takes_an_offset_out_of_reach_for_a_short_file) {
  for (const std::uint64_t offset : {std::uint64_t{1000}, std::uint64_t{INT64_MAX}, std::uint64_t{INT64_MAX} + 1,
                                     std::uint64_t{UINT64_MAX - 15}, std::uint64_t{UINT64_MAX}}) {
    SCOPED_TRACE(offset);
    std::string bytes = good_swoop;
    bytes.replace(6, 8, big_endian(offset, 8));
    EXPECT_STREQ(read_swoop(bytes), "failed to read section header table entry");
    EXPECT_STREQ(read_gate(bytes), "failed to read section header table entry");
    bytes = good_swoop;
    bytes.replace(30, 8, big_endian(offset, 8));
    EXPECT_STREQ(read_swoop(bytes), "failed to read swoop header");
    bytes = good_gate;
    bytes.replace(30, 8, big_endian(offset, 8));
    EXPECT_STREQ(read_gate(bytes), "failed to read gate header");
  }
}

TEST(tvl_damage_test, takes_a_pipe_for_a_short_file) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], good_swoop.data(), good_swoop.size()), static_cast<ssize_t>(good_swoop.size()));
  close(ends[1]);
  const file_handle stream(fdopen(ends[0], "rb"));
  gps_track track;
  error_slot error = nullptr;
  EXPECT_EQ(read_swoop_stream(stream.get(), track, &error), not_this_form);
  EXPECT_STREQ(error, "failed to read section header table entry");
}

struct count_case {
  const char *name;
  std::uint32_t count;
  std::uint64_t size;  // of the section, as 64 bits would have it
  std::size_t bytes;   // of samples that are there
  outcome result;
  error_slot message;
};

// 61356675 * 70 + 8 = 4294967258 is the last size that fits 32 bits; one sample more wraps to 32.
const count_case swoop_counts[] = {
    {"the largest count and no sample", 61356675, 4294967258, 0, not_this_form, "failed to read swoop sample"},
    {"the largest count and a sample", 61356675, 4294967258, 70, not_this_form, "failed to read swoop sample"},
    {"a count whose size wraps to 32", 61356676, 4294967328, 140, not_this_form, "incorrect swoop section size"},
    {"the last count of all", UINT32_MAX, 300647710658, 140, not_this_form, "incorrect swoop section size"},
    {"a byte short", 2, 148, 139, not_this_form, "failed to read swoop sample"},
    {"nothing short", 2, 148, 140, no_memory, "malloc() failed"},
    {"a size one byte too small", 2, 147, 140, not_this_form, "incorrect swoop section size"},
    {"a size one byte too large", 2, 149, 141, not_this_form, "incorrect swoop section size"},
    {"no sample", 0, 8, 0, no_memory, "malloc() failed"},
};

// 16 (268435446 + 9) = 4294967280 is the last size that fits 32 bits; one point more wraps to 0.
const count_case gate_counts[] = {
    {"the largest count and no point", 268435446, 4294967280, 0, not_this_form, "failed to read gate sample"},
    {"the largest count and a point", 268435446, 4294967280, 16, not_this_form, "failed to read gate sample"},
    {"a count whose size wraps to 0", 268435447, 4294967296, 32, not_this_form, "incorrect gate section size"},
    {"the last count of all", UINT32_MAX, 68719476864, 32, not_this_form, "incorrect gate section size"},
    {"a byte short", 2, 176, 31, not_this_form, "failed to read gate sample"},
    {"nothing short", 2, 176, 32, no_memory, "malloc() failed"},
    {"a size one byte too small", 2, 175, 32, not_this_form, "incorrect gate section size"},
    {"a size one byte too large", 2, 177, 33, not_this_form, "incorrect gate section size"},
    {"no point", 0, 144, 0, no_memory, "malloc() failed"},
};

// Every request is refused: a message other than "malloc() failed" means that there was no request.
TEST(tvl_damage_test, allocates_no_memory_that_the_file_cannot_fill) {
  for (const count_case &c : swoop_counts) {
    SCOPED_TRACE(c.name);
    const std::string bytes = file_header(26) + entry(1, 42, static_cast<std::uint32_t>(c.size)) +
                              swoop_header(c.count) + std::string(c.bytes, '\0');
    const file_handle stream = open_bytes(bytes);
    gps_track track;
    error_slot error = nullptr;
    const allocation_limit limit(0);
    EXPECT_EQ(read_swoop_stream(stream.get(), track, &error), c.result);
    EXPECT_STREQ(error, c.message);
    EXPECT_EQ(track.points, nullptr);
  }
  for (const count_case &c : gate_counts) {
    SCOPED_TRACE(c.name);
    const std::string bytes = file_header(26) + entry(2, 42, static_cast<std::uint32_t>(c.size)) +
                              gate_header(c.count) + std::string(c.bytes, '\0');
    const file_handle stream = open_bytes(bytes);
    course gate;
    error_slot error = nullptr;
    const allocation_limit limit(0);
    EXPECT_EQ(read_gate_stream(stream.get(), gate, &error), c.result);
    EXPECT_STREQ(error, c.message);
    EXPECT_FALSE(gate.pond);
  }
}

}  // namespace
}  // namespace tarvel
