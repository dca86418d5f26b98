#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "loader/track_loader.h"
#include "support/container_bytes.h"
#include "support/gate_of_bytes.h"
#include "support/man_page.h"

namespace tarvel {
namespace {

// One line of a listing: the offset of a field, its type, its bytes and the value that the page states.
struct listed_field {
  std::size_t offset = 0;
  std::string type;
  std::string bytes;
  std::string value;
};

struct worked_example {
  std::string bytes;
  std::vector<listed_field> fields;

  [[nodiscard]] double value_at(std::size_t offset) const {
    for (const listed_field &field : fields) {
      if (field.offset == offset) return std::strtod(field.value.c_str(), nullptr);
    }
    ADD_FAILURE() << "nothing is listed at " << offset;
    return 0.0;
  }
};

bool is_byte(const std::string &word) {
  return word.size() == 2 && word.find_first_not_of("0123456789abcdef") == std::string::npos;
}

char byte_of(const std::string &word) { return static_cast<char>(std::strtoul(word.c_str(), nullptr, 16)); }

std::string bytes_of_dump(const std::string &dump) {
  std::string bytes;
  std::istringstream lines(dump);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    EXPECT_EQ(std::strtoul(word.c_str(), nullptr, 16), bytes.size()) << line;
    while (words >> word) {
      EXPECT_TRUE(is_byte(word)) << line;
      bytes += byte_of(word);
    }
  }
  return bytes;
}

std::size_t width_of(const std::string &type) {
  // The four letters at the start are listed as one.
  if (type == "u8") return 0;
  return std::strtoul(type.c_str() + 1, nullptr, 10) / 8;
}

listed_field read_listed_field(const std::string &line) {
  listed_field field;
  std::istringstream words(line);
  words >> field.offset >> field.type;
  std::string word;
  while (words >> word && is_byte(word) && (width_of(field.type) == 0 || field.bytes.size() < width_of(field.type))) {
    // A value of one byte may have two digits, like the bytes before it.
    if (width_of(field.type) == 0 && !field.bytes.empty() && field.offset != 0) break;
    field.bytes += byte_of(word);
  }
  field.value = word;
  return field;
}

worked_example read_example(const std::string &name) {
  const std::string page = page_source("tarvel-tvl.5");
  worked_example example;
  example.bytes = bytes_of_dump(display_after(page, "dump of the " + name));
  std::istringstream lines(display_after(page, "listing of the " + name));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) example.fields.push_back(read_listed_field(line));
  return example;
}

std::uint64_t unsigned_of(const std::string &bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

void expect_value(const listed_field &field) {
  const double stated = std::strtod(field.value.c_str(), nullptr);
  const std::uint64_t bits = unsigned_of(field.bytes);
  if (field.offset == 0) {
    EXPECT_EQ(field.value, field.bytes);
  } else if (field.type == "f64") {
    EXPECT_EQ(stated, std::bit_cast<double>(bits));
  } else if (field.type == "f32") {
    EXPECT_EQ(static_cast<float>(stated), std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
  } else {
    EXPECT_EQ(field.value, std::to_string(bits));
  }
}

// Every byte of the dump is listed once, with its value.
void expect_listed(const worked_example &example) {
  std::string listed;
  for (const listed_field &field : example.fields) {
    SCOPED_TRACE(field.offset);
    EXPECT_EQ(field.offset, listed.size());
    listed += field.bytes;
    expect_value(field);
  }
  EXPECT_EQ(listed, example.bytes);
}

TEST(tvl_page_test, lists_every_byte_of_the_run_with_its_value) {
  const worked_example example = read_example("run");
  EXPECT_EQ(example.bytes.size(), 120);
  expect_listed(example);
}

TEST(tvl_page_test, lists_every_byte_of_the_course_with_its_value) {
  const worked_example example = read_example("course");
  EXPECT_EQ(example.bytes.size(), 234);
  expect_listed(example);
}

TEST(tvl_page_test, the_run_is_read_as_listed) {
  const worked_example example = read_example("run");
  const file_handle stream = open_bytes(example.bytes);
  gps_track track;
  error_slot error = nullptr;
  ASSERT_EQ(read_swoop_stream(stream.get(), track, &error), outcome::done);
  ASSERT_STREQ(error, nullptr);
  ASSERT_EQ(track.count, 1);
  const gps_point &sample = track.points[0];
  EXPECT_EQ(static_cast<double>(sample.time), example.value_at(50));
  EXPECT_EQ(sample.pos_wgs84.x, example.value_at(58));
  EXPECT_EQ(sample.pos_wgs84.y, example.value_at(66));
  EXPECT_EQ(sample.pos_wgs84.z, example.value_at(74));
  EXPECT_EQ(sample.vel_ltp.x, example.value_at(82));
  EXPECT_EQ(sample.vel_ltp.y, example.value_at(90));
  EXPECT_EQ(sample.vel_ltp.z, example.value_at(98));
  EXPECT_EQ(sample.hacc, static_cast<float>(example.value_at(106)));
  EXPECT_EQ(sample.vacc, static_cast<float>(example.value_at(110)));
  EXPECT_EQ(sample.sacc, static_cast<float>(example.value_at(114)));
  EXPECT_EQ(sample.gpsfix, example.value_at(118));
  EXPECT_EQ(sample.numsv, example.value_at(119));
}

TEST(tvl_page_test, the_run_is_what_is_written_for_the_first_example_sample) {
  const std::string text = read_text(source_dir() + "/examples/straight.csv");
  gps_track track;
  warning_buffer warnings;
  error_slot error = nullptr;
  ASSERT_EQ(load_swoop_stream(open_bytes(text).get(), track, warnings, &error), outcome::done);
  ASSERT_STREQ(error, nullptr);
  EXPECT_EQ(swoop_bytes({track.points.get(), 1}), read_example("run").bytes);
}

TEST(tvl_page_test, the_course_is_read_as_listed) {
  const worked_example example = read_example("course");
  const file_handle stream = open_bytes(example.bytes);
  course shown;
  error_slot error = nullptr;
  ASSERT_EQ(read_gate_stream(stream.get(), shown, &error), outcome::done);
  ASSERT_STREQ(error, nullptr);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(shown.matrix.m[i / 4][i % 4], example.value_at(44 + 8 * i));
  EXPECT_EQ(shown.theta, example.value_at(172));
  ASSERT_TRUE(shown.pond);
  const std::span<const vec3> pond = points_of(*shown.pond);
  ASSERT_EQ(pond.size(), 3);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(pond[i].x, example.value_at(186 + 16 * i));
    EXPECT_EQ(pond[i].y, example.value_at(194 + 16 * i));
  }
  EXPECT_EQ(gate_bytes(shown), example.bytes);
}

TEST(tvl_page_test, the_course_is_that_of_the_example_walk) {
  const worked_example example = read_example("course");
  error_slot error = nullptr;
  const owned_record<gate> found = gate_of_bytes(read_text(source_dir() + "/examples/walk.csv"), nullptr, &error);
  ASSERT_STREQ(error, nullptr);
  for (std::size_t i = 0; i < 16; ++i)
    EXPECT_NEAR(found->course.matrix.m[i / 4][i % 4], example.value_at(44 + 8 * i), 1e-6);
  EXPECT_NEAR(found->course.theta, example.value_at(172), 1e-9);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(found->course.pond->points[i].x, example.value_at(186 + 16 * i), 1e-6);
    EXPECT_NEAR(found->course.pond->points[i].y, example.value_at(194 + 16 * i), 1e-6);
  }
}

}  // namespace
}  // namespace tarvel
