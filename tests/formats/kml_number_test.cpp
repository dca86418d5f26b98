// Coordinates must have the digits of "%.7f" and "%.3f".
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "formats/kml.h"
#include "support/files.h"

namespace tarvel {

namespace {

// The samples as printed by printf, line by line.
std::string printed_lines(const std::vector<gps_point> &samples) {
  std::string text;
  char line[1100];
  for (const gps_point &sample : samples) {
    const vec3 &pos = sample.pos_wgs84;
    const int length = std::snprintf(line, sizeof line, "          %.7f,%.7f,%.3f\n", pos.y, pos.x, pos.z);
    text.append(line, static_cast<std::size_t>(length));
  }
  return text;
}

std::string written_lines(const std::vector<gps_point> &samples) {
  const std::string text = bytes_written_by([&](std::FILE *stream) { write_kml(stream, 0, samples, nullptr); });
  constexpr std::string_view begin_mark = "<coordinates>\n";
  const std::size_t begin = text.find(begin_mark) + begin_mark.size();
  return text.substr(begin, text.find("        </coordinates>") - begin);
}

// Each number in each of the three places.
void expect_printf_lines(const std::vector<double> &numbers) {
  std::vector<gps_point> samples(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t count = numbers.size();
    samples[i].pos_wgs84 = {numbers[i], numbers[(i + 1) % count], numbers[(i + 2) % count]};
  }
  const std::string written = written_lines(samples);
  const std::string printed = printed_lines(samples);
  if (written == printed) return;
  std::size_t at = 0;
  while (at < written.size() && at < printed.size() && written[at] == printed[at]) ++at;
  const std::size_t begin = at < 40 ? 0 : at - 40;
  FAIL() << "\"" << written.substr(begin, 80) << "\" instead of \"" << printed.substr(begin, 80) << '"';
}

TEST(kml_number_test, awkward_numbers_are_those_of_printf) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double not_a_number = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> numbers = {0.0, 5e-324, 2.2250738585072014e-308, 2.225073858507201e-308, 1e308,
                                 std::numeric_limits<double>::max(), infinity, not_a_number, 0.00000005, 0.0005,
                                 // exact halves of the last decimal: only dyadic fractions can be
                                 0.5, 0.25, 0.125, 0.0625, 0.00048828125, 0.0009765625, 0.0014648437500000, 1.0625,
                                 0.00390625, 5.9604644775390625e-08, 1.0000000298023224, 0.99999995, 0.9995,
                                 9.9999999499, 179.99999995, 89.99999995, 4503599627370495.5, 4503599627370496.5,
                                 9007199254740993.0, 1e15, 1e16, 1e17, 1e22, 1e23, 123456789012345678.0, 0.1,
                                 1.0 / 3.0};
  const std::size_t count = numbers.size();
  for (std::size_t i = 0; i < count; ++i) numbers.push_back(-numbers[i]);
  for (std::size_t i = 0; i < 2 * count; ++i) {
    numbers.push_back(std::nextafter(numbers[i], infinity));
    numbers.push_back(std::nextafter(numbers[i], -infinity));
  }
  expect_printf_lines(numbers);
}

TEST(kml_number_test, prints_infinities_and_nan) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double not_a_number = std::copysign(std::numeric_limits<double>::quiet_NaN(), 1.0);
  std::vector<gps_point> samples(2);
  samples[0].pos_wgs84 = {infinity, not_a_number, -infinity};
  samples[1].pos_wgs84 = {-not_a_number, -0.0, not_a_number};
  EXPECT_EQ(written_lines(samples),
            "          nan,inf,-inf\n"
            "          -0.0000000,-nan,nan\n");
}

TEST(kml_number_test, the_longest_numbers_fit) {
  std::vector<gps_point> samples(1);
  const double most = -std::numeric_limits<double>::max();
  samples[0].pos_wgs84 = {most, most, most};
  const std::string written = written_lines(samples);
  EXPECT_EQ(written, printed_lines(samples));
  // 10 blanks; thrice a sign, 309 digits and a point; 7, 7 and 3 decimals; two commas and the line's end
  EXPECT_EQ(written.size(), 10U + 3U * 311U + 17U + 3U);
}

TEST(kml_number_test, halves_of_the_last_decimal_are_those_of_printf) {
  // k / 2^n with few decimals ends in 5 at the decimal that is rounded.
  std::vector<double> numbers;
  for (int n = 4; n <= 9; ++n) {
    for (int k = -2001; k <= 2001; k += 2) numbers.push_back(std::ldexp(k, -n));
  }
  for (int k = -20001; k <= 20001; k += 2) numbers.push_back(k * 0.5e-7);
  for (int k = -20001; k <= 20001; k += 2) numbers.push_back(k * 0.5e-3);
  expect_printf_lines(numbers);
}

constexpr int chunk = 20000;

template <typename source>
void expect_printf_for_many(int total, source next) {
  for (int done = 0; done < total && !testing::Test::HasFailure(); done += chunk) {
    std::vector<double> numbers(chunk);
    for (double &number : numbers) number = next();
    expect_printf_lines(numbers);
  }
}

TEST(kml_number_test, a_million_positions_are_those_of_printf) {
  std::mt19937_64 random(30);
  std::uniform_real_distribution<double> degrees(-180.0, 180.0);
  std::uniform_real_distribution<double> heights(-400.0, 5000.0);
  std::uniform_int_distribution<std::int64_t> ticks(-3600000000, 3600000000);
  int i = 0;
  expect_printf_for_many(1000000, [&]() -> double {
    switch (++i % 4) {
      case 0: return degrees(random);
      case 1: return heights(random);
      case 2: return static_cast<double>(ticks(random)) / 2e7;   // halves of 1e-7 degree
      default: return static_cast<double>(ticks(random)) / 2e3;  // halves of a millimetre
    }
  });
}

TEST(kml_number_test, any_bits_are_those_of_printf) {
  std::mt19937_64 random(31);
  expect_printf_for_many(100000, [&] { return std::bit_cast<double>(random()); });
}

}  // namespace

}  // namespace tarvel
