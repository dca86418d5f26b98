#include "container/tvl_records.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>

#include "support/files.h"
#include "support/guarded_page.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;

// The bytes that writing the record gives.
template <typename record>
std::string bytes_of(bool (*write)(std::FILE *, const record &), const record &source) {
  const file_handle stream(std::tmpfile());
  EXPECT_TRUE(write(stream.get(), source));
  std::string bytes(static_cast<std::size_t>(std::ftell(stream.get())), '\0');
  std::rewind(stream.get());
  EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), stream.get()), bytes.size());
  return bytes;
}

template <typename record>
bool read_from(bool (*read)(std::FILE *, record &), const std::string &bytes, record &target) {
  const file_handle stream = open_bytes(bytes);
  return read(stream.get(), target);
}

TEST(tvl_records_test, puts_the_highest_byte_first) {
  const std::uint8_t bytes[] = {0x81, 0x02, 0x83, 0x04, 0x85, 0x06, 0x87, 0x08};
  std::uint8_t u8 = 0;
  std::uint16_t u16 = 0;
  std::uint32_t u32 = 0;
  std::uint64_t u64 = 0;
  read_be(&u8, bytes, 1);
  read_be(&u16, bytes, 2);
  read_be(&u32, bytes, 4);
  read_be(&u64, bytes, 8);
  EXPECT_EQ(u8, 0x81U);
  EXPECT_EQ(u16, 0x8102U);
  EXPECT_EQ(u32, 0x81028304U);
  EXPECT_EQ(u64, 0x8102830485068708U);

  const auto expect_written = [&](const void *source, std::size_t width) {
    SCOPED_TRACE(width);
    std::uint8_t written[10];
    std::memset(written, 0xEE, sizeof written);
    write_be(written + 1, source, width);
    EXPECT_EQ(std::memcmp(written + 1, bytes, width), 0);
    EXPECT_EQ(written[0], 0xEE);
    EXPECT_EQ(written[1 + width], 0xEE);
  };
  expect_written(&u8, 1);
  expect_written(&u16, 2);
  expect_written(&u32, 4);
  expect_written(&u64, 8);
}

TEST(tvl_records_test, stores_no_more_than_the_width) {
  const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
  for (const std::size_t width : {1U, 2U, 4U, 8U}) {
    SCOPED_TRACE(width);
    alignas(8) std::uint8_t target[16] = {};
    read_be(target, bytes, width);
    for (std::size_t i = 0; i < sizeof target; ++i) EXPECT_EQ(target[i], i < width ? width - i : 0) << i;
  }
}

TEST(tvl_records_test, reads_no_more_than_the_width) {
  const guarded_page page;
  for (const std::size_t width : {1U, 2U, 4U, 8U}) {
    SCOPED_TRACE(width);
    std::uint8_t *const bytes = page.end() - width;
    bytes[0] = 0x81;
    std::uint8_t written[8] = {};
    write_be(written, bytes, width);
    EXPECT_EQ(written[width - 1], 0x81);
    alignas(8) std::uint8_t target[8] = {};
    read_be(target, bytes, width);
    EXPECT_EQ(target[width - 1], 0x81);
    bytes[0] = 0;
  }
}

const std::string file_header_bytes =
    "uTVL"
    "\x00\x1A"                          // header size 26
    "\x00\x00\x00\x00\x00\x00\x00\x1A"  // table offset 26
    "\x00\x10"                          // entry size 16
    "\x00\x01"                          // one section
    "\x00\x00\x00\x00\x00\x00\x00\x00"s;

TEST(tvl_records_test, lays_out_the_file_header) {
  EXPECT_EQ(bytes_of(write_file_header, tvl_file_header()), file_header_bytes);
  const std::string other =
      "vUWM\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10\x11\x12\x13\x14\x15\x16"s;
  tvl_file_header header;
  ASSERT_TRUE(read_from(read_file_header, other, header));
  EXPECT_EQ(header.magic, (std::array<std::uint8_t, 4>{'v', 'U', 'W', 'M'}));
  EXPECT_EQ(header.header_size, 0x0102);
  EXPECT_EQ(header.table_offset, 0x030405060708090AU);
  EXPECT_EQ(header.entry_size, 0x0B0C);
  EXPECT_EQ(header.section_count, 0x0D0E);
  EXPECT_EQ(header.reserved, 0x0F10111213141516U);
  EXPECT_EQ(bytes_of(write_file_header, header), other);
}

TEST(tvl_records_test, lays_out_the_section_entry) {
  const std::string bytes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10"s;
  tvl_section_entry entry;
  EXPECT_EQ(entry.section_offset, 42U);
  ASSERT_TRUE(read_from(read_section_entry, bytes, entry));
  EXPECT_EQ(entry.type, 0x01020304U);
  EXPECT_EQ(entry.section_offset, 0x05060708090A0B0CU);
  EXPECT_EQ(entry.section_size, 0x0D0E0F10U);
  EXPECT_EQ(bytes_of(write_section_entry, entry), bytes);
}

// The doubles 0 to 15 and -0.5, by their leading two bytes; the other six are 0.
const char gate_doubles[][3] = {"\x00\x00", "\x3F\xF0", "\x40\x00", "\x40\x08", "\x40\x10", "\x40\x14",
                                "\x40\x18", "\x40\x1C", "\x40\x20", "\x40\x22", "\x40\x24", "\x40\x26",
                                "\x40\x28", "\x40\x2A", "\x40\x2C", "\x40\x2E", "\xBF\xE0"};

TEST(tvl_records_test, lays_out_the_gate_header) {
  std::string bytes = "\x00\x90"s;
  for (const auto &leading : gate_doubles) bytes += std::string(leading, 2) + std::string(6, '\0');
  bytes += "\x00\x10\x01\x02\x03\x04"s;
  ASSERT_EQ(bytes.size(), 144U);

  tvl_gate_header header;
  ASSERT_TRUE(read_from(read_gate_header, bytes, header));
  EXPECT_EQ(header.header_size, 144);
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::size_t column = 0; column < 4; ++column) {
      EXPECT_EQ(header.matrix.m[row][column], static_cast<double>(4 * row + column));
    }
  }
  EXPECT_EQ(header.theta, -0.5);
  EXPECT_EQ(header.sample_size, 16);
  EXPECT_EQ(header.count, 0x01020304U);
  EXPECT_EQ(bytes_of(write_gate_header, header), bytes);
}

TEST(tvl_records_test, lays_out_the_swoop_header) {
  const std::string bytes = "\x00\x08\x00\x46\x01\x02\x03\x04"s;
  tvl_swoop_header header;
  ASSERT_TRUE(read_from(read_swoop_header, bytes, header));
  EXPECT_EQ(header.header_size, 8);
  EXPECT_EQ(header.sample_size, 70);
  EXPECT_EQ(header.count, 0x01020304U);
  EXPECT_EQ(bytes_of(write_swoop_header, header), bytes);
  EXPECT_EQ(bytes_of(write_swoop_header, tvl_swoop_header()), "\x00\x08\x00\x46\x00\x00\x00\x00"s);
}

TEST(tvl_records_test, lays_out_the_gate_sample) {
  const std::string bytes = "\x3F\xF0\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x00"s;
  vec3 point = {9.0, 9.0, 9.0};
  ASSERT_TRUE(read_from(read_gate_sample, bytes, point));
  EXPECT_EQ(point.x, 1.0);
  EXPECT_EQ(point.y, -2.0);
  EXPECT_EQ(point.z, 9.0);
  EXPECT_EQ(bytes_of(write_gate_sample, point), bytes);
}

TEST(tvl_records_test, lays_out_the_swoop_sample) {
  const std::string bytes =
      "\xFE\x02\x03\x04\x05\x06\x07\x08"  // time
      "\x3F\xF0\x00\x00\x00\x00\x00\x00"  // 1.0
      "\xC0\x00\x00\x00\x00\x00\x00\x00"  // -2.0
      "\x3F\xE0\x00\x00\x00\x00\x00\x00"  // 0.5
      "\x40\x08\x00\x00\x00\x00\x00\x00"  // 3.0
      "\x80\x00\x00\x00\x00\x00\x00\x00"  // -0.0
      "\x40\x59\x00\x00\x00\x00\x00\x01"  // 100.0 and one unit in the last place
      "\x3F\xC0\x00\x00"                  // 1.5
      "\x3E\x80\x00\x00"                  // 0.25
      "\xBF\x80\x00\x01"                  // -1.0 and one unit in the last place
      "\x03\xFF"s;
  gps_point point;
  point.pos_ecef.x = 5.0;
  ASSERT_TRUE(read_from(read_swoop_sample, bytes, point));
  EXPECT_EQ(static_cast<std::uint64_t>(point.time), 0xFE02030405060708U);
  EXPECT_LT(point.time, 0);
  EXPECT_EQ(point.pos_wgs84.x, 1.0);
  EXPECT_EQ(point.pos_wgs84.y, -2.0);
  EXPECT_EQ(point.pos_wgs84.z, 0.5);
  EXPECT_EQ(point.vel_ltp.x, 3.0);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(point.vel_ltp.y), std::uint64_t{1} << 63);
  EXPECT_EQ(point.vel_ltp.z, 100.00000000000001421);  // 2^-46
  EXPECT_EQ(point.hacc, 1.5F);
  EXPECT_EQ(point.vacc, 0.25F);
  EXPECT_EQ(point.sacc, -1.00000011920928955F);  // 2^-23
  EXPECT_EQ(point.gpsfix, 3);
  EXPECT_EQ(point.numsv, 255);
  EXPECT_EQ(point.pos_ecef.x, 5.0);
  EXPECT_EQ(bytes_of(write_swoop_sample, point), bytes);
}

// Every cut of zeros that a record's size admits: false, and the record as it was.
template <typename record>
void expect_no_short_record(bool (*read)(std::FILE *, record &), std::size_t size, const record &before) {
  for (std::size_t length = 0; length <= size; ++length) {
    SCOPED_TRACE(length);
    record target = before;
    EXPECT_EQ(read_from(read, std::string(length, '\x55'), target), length == size);
    EXPECT_EQ(std::memcmp(&target, &before, sizeof target) == 0, length < size);
  }
}

TEST(tvl_records_test, reads_no_short_record) {
  expect_no_short_record(read_file_header, 26, tvl_file_header());
  expect_no_short_record(read_section_entry, 16, tvl_section_entry());
  expect_no_short_record(read_gate_header, 144, tvl_gate_header());
  expect_no_short_record(read_swoop_header, 8, tvl_swoop_header());
  expect_no_short_record(read_gate_sample, 16, vec3());
  expect_no_short_record(read_swoop_sample, 70, gps_point());
}

TEST(tvl_records_test, reads_one_record_and_no_further) {
  const std::string bytes = file_header_bytes + "next";
  const file_handle stream = open_bytes(bytes);
  tvl_file_header header;
  ASSERT_TRUE(read_file_header(stream.get(), header));
  EXPECT_EQ(std::ftell(stream.get()), 26);
}

TEST(tvl_records_test, reports_a_failed_write) {
  const file_handle full(std::fopen("/dev/full", "wb"));
  ASSERT_NE(full, nullptr);
  std::setvbuf(full.get(), nullptr, _IONBF, 0);
  EXPECT_FALSE(write_file_header(full.get(), tvl_file_header()));
  EXPECT_FALSE(write_section_entry(full.get(), tvl_section_entry()));
  EXPECT_FALSE(write_gate_header(full.get(), tvl_gate_header()));
  EXPECT_FALSE(write_swoop_header(full.get(), tvl_swoop_header()));
  EXPECT_FALSE(write_gate_sample(full.get(), vec3()));
  EXPECT_FALSE(write_swoop_sample(full.get(), gps_point()));
}

}  // namespace
}  // namespace tarvel
