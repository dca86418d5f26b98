#include "formats/coord_dump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/units.h"

namespace tarvel {

namespace {

const std::string header =
    "time  (posx,posy,posz)  (velx,vely,velz)  (accx,accy,accz)  gforce  dive_angle  heading  turn_rate\n"
    "(sec) (ft) (ft) (ft) (mph) (mph) (mph) (mph/s) (mph/s) (mph/s)  () (deg) (deg) (deg/s)\n";

std::string dump_of(const std::vector<gps_point> &samples) {
  return bytes_written_by([&](std::FILE *stream) { write_coord_dump(stream, samples); });
}

std::string row_of(const gps_point &sample) {
  const std::string text = dump_of({sample});
  EXPECT_EQ(text.substr(0, header.size()), header);
  return text.substr(header.size());
}

TEST(coord_dump_test, heads_the_table_with_two_lines) {
  const std::string text = dump_of({});
  EXPECT_EQ(text, header);
  EXPECT_EQ(text.find('\n'), 98U);
  EXPECT_EQ(text.size(), 99U + 87U);
}

TEST(coord_dump_test, a_fresh_sample_is_a_row_of_zeros) {
  EXPECT_EQ(row_of({}),
            "    0.000   (      0.00,      0.00,      0.00 )   (    0.00,    0.00,    0.00 )   "
            "(    0.00    0.00    0.00 )    0.00    0       0      0.00\n");
}

TEST(coord_dump_test, writes_feet_and_miles_per_hour) {
  gps_point sample;
  sample.time = 12345;
  sample.pos_local = {1.0, 200.0, -3.0};  // 3.2808399, 656.16798, -9.8425197 ft
  sample.vel_local = {10.0, -20.0, 0.5};  // 22.3693629, -44.7387258, 1.118468145 mph
  sample.acc_local = {3.0, 4.0, -12.0};   // 6.71080887, 8.94774516, -26.84323548 mph/s; 13 / 9.80665 = 1.3256 g
  sample.dive_angle = 44.6;
  sample.heading = 359.4;
  sample.turn_angle = 77.0;  // not in the table
  sample.turn_rate = -12.5;
  EXPECT_EQ(row_of(sample),
            "   12.345   (      3.28,    656.17,     -9.84 )   (   22.37,  -44.74,    1.12 )   "
            "(    6.71    8.95  -26.84 )    1.33   45     359    -12.50\n");
}

TEST(coord_dump_test, wide_values_push_the_columns_and_halves_go_to_even) {
  gps_point sample;
  sample.time = 7;
  sample.pos_local = {-10000000.0, 1e6, 0.0};  // -32808399 ft
  sample.vel_local = {-100000.0, 0.0, 0.0};    // -223693.629 mph
  sample.acc_local = {-100000.0, 0.0, 0.0};    // 10197.1621...  g
  sample.dive_angle = 44.5;
  sample.heading = 1.5;
  sample.turn_rate = 0.125;
  EXPECT_EQ(row_of(sample),
            "    0.007   (-32808399.00,3280839.90,      0.00 )   (-223693.63,    0.00,    0.00 )   "
            "(-223693.63    0.00    0.00 )10197.16   44       2      0.12\n");
}

TEST(coord_dump_test, prints_signed_zeros_and_nan) {
  gps_point sample;
  sample.pos_local = {-0.0, -0.0, -0.001};
  sample.vel_local = {-0.0, std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
  sample.acc_local = {-0.0, -0.0, -0.0};
  sample.dive_angle = -0.4;
  sample.heading = -0.0;
  sample.turn_rate = std::numeric_limits<double>::infinity();
  EXPECT_EQ(row_of(sample),
            "    0.000   (     -0.00,     -0.00,     -0.00 )   (   -0.00,     inf,    -inf )   "
            "(   -0.00   -0.00   -0.00 )    0.00   -0      -0       inf\n");
}

struct time_case {
  const char *name;
  std::int64_t time;
  const char *expected;
};

const time_case time_cases[] = {
    {"zero", 0, "    0.000"},
    {"a millisecond", 1, "    0.001"},
    {"less than a second", 999, "    0.999"},
    {"a second", 1000, "    1.000"},
    {"the last before the wrap", 99999999, "99999.999"},
    {"the wrap", 100000000, "    0.000"},
    {"after the wrap", 100001020, "    1.020"},
    {"the second wrap", 200000000, "    0.000"},
    {"since the epoch", 1717245000123, "45000.123"},
    // Unsigned: 2^64 = 18446744073709551616.
    {"a millisecond before zero", -1, " 9551.615"},
    {"a second before zero", -1000, " 9550.616"},
    {"the last time", std::numeric_limits<std::int64_t>::max(), "54775.807"},   // 2^63 - 1 = 9223372036854775807
    {"the first time", std::numeric_limits<std::int64_t>::min(), "54775.808"},  // 2^63
};

TEST(coord_dump_test, counts_seconds_up_to_100000) {
  for (const time_case &c : time_cases) {
    SCOPED_TRACE(c.name);
    gps_point sample;
    sample.time = c.time;
    EXPECT_EQ(row_of(sample).substr(0, 13), std::string(c.expected) + "   (");
  }
}

TEST(coord_dump_test, writes_every_sample_in_order) {
  std::vector<gps_point> samples(1000);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = static_cast<std::int64_t>(i);
  const std::string text = dump_of(samples);
  constexpr std::size_t row_size = 141;  // 12 + 38 + 32 + 27 + 8 + 5 + 8 + 11, the line's end included
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  ASSERT_EQ(lines, 1002U);
  const std::size_t rows = lines - 2;
  EXPECT_EQ((text.size() - header.size()) % rows, 0U);
  const std::size_t size = (text.size() - header.size()) / rows;
  EXPECT_EQ(size, row_size);
  EXPECT_EQ(text.substr(header.size() + 999 * size, 9), "    0.999");
}

TEST(coord_dump_test, leaves_the_error_of_a_full_disk_in_the_stream) {
  for (const std::size_t count : {0U, 1000U}) {
    const file_handle full(std::fopen("/dev/full", "wb"));
    write_coord_dump(full.get(), std::vector<gps_point>(count));
    EXPECT_NE(std::fflush(full.get()), 0);
    EXPECT_NE(std::ferror(full.get()), 0);
  }
}

// The row as a printf format states it.
std::string printed_row(const gps_point &sample) {
  const auto time = static_cast<std::uint64_t>(sample.time);
  const vec3 &pos = sample.pos_local;
  const vec3 &vel = sample.vel_local;
  const vec3 &acc = sample.acc_local;
  std::array<char, 8000> row;
  std::snprintf(row.data(), row.size(),
                "%5d.%03d   (%10.2f,%10.2f,%10.2f )   (%8.2f,%8.2f,%8.2f )   (%8.2f%8.2f%8.2f )%8.2f%5.0f%8.0f%10.2f\n",
                static_cast<int>(time / 1000 % 100000), static_cast<int>(time % 1000), pos.x * feet_per_metre,
                pos.y * feet_per_metre, pos.z * feet_per_metre, vel.x * mph_per_mps, vel.y * mph_per_mps,
                vel.z * mph_per_mps, acc.x * mph_per_mps, acc.y * mph_per_mps, acc.z * mph_per_mps,
                vec3_length(acc) / standard_gravity, sample.dive_angle, sample.heading, sample.turn_rate);
  return row.data();
}

TEST(coord_dump_test, gives_whatever_is_no_number_the_same_sign) {
  const double not_a_number = std::numeric_limits<double>::quiet_NaN();
  for (const double value : {not_a_number, -not_a_number}) {
    gps_point sample;
    sample.pos_local = {value, 0.0, 0.0};
    sample.turn_rate = value;
    EXPECT_EQ(row_of(sample),
              "    0.000   (      -nan,      0.00,      0.00 )   (    0.00,    0.00,    0.00 )   "
              "(    0.00    0.00    0.00 )    0.00    0       0      -nan\n");
  }
}

TEST(coord_dump_test, writes_what_printf_writes_for_any_number) {
  std::mt19937_64 random(1);
  const auto any = [&random] {
    switch (random() % 4) {
      case 0: return std::bit_cast<double>(random() & ~(std::uint64_t{1} << 52));  // no NaN
      case 1: return static_cast<double>(static_cast<std::int64_t>(random()) % 100000) / 8.0;
      case 2: return static_cast<double>(static_cast<std::int64_t>(random()) % 10000000) / 997.0;
      default: return static_cast<double>(random() % 5) - 2.5;
    }
  };
  std::vector<gps_point> samples(20000);
  std::string expected = header;
  for (gps_point &sample : samples) {
    sample.time = static_cast<std::int64_t>(random() >> (random() % 64));
    sample.pos_local = {any(), any(), any()};
    sample.vel_local = {any(), any(), any()};
    sample.acc_local = {any(), any(), any()};
    sample.dive_angle = any();
    sample.heading = any();
    sample.turn_rate = any();
    expected += printed_row(sample);
  }
  EXPECT_TRUE(dump_of(samples) == expected);
}

}  // namespace

}  // namespace tarvel
