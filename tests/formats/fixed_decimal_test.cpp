#include "formats/fixed_decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>

namespace tarvel {

namespace {

std::string printed(double value, int decimals) {
  char text[longest_fixed_decimal];
  return {text, print_fixed(text, value, decimals)};
}

std::string printed_by_printf(double value, int decimals) {
  char text[longest_fixed_decimal + 1];
  const int length = std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return {text, static_cast<std::size_t>(length)};
}

TEST(fixed_decimal_test, writes_each_part_of_a_number) {
  EXPECT_EQ(printed(6.0672251, 7), "6.0672251");
  EXPECT_EQ(printed(-52.14, 7), "-52.1400000");
  EXPECT_EQ(printed(0.05, 3), "0.050");
  EXPECT_EQ(printed(1503.4284, 3), "1503.428");
  EXPECT_EQ(printed(9.9996, 3), "10.000");
  EXPECT_EQ(printed(99.0, 0), "99");
  EXPECT_EQ(printed(0.0, 0), "0");
  EXPECT_EQ(printed(-0.0001, 3), "-0.000");
}

// 0.5 is a tie, which goes to the even digit.
TEST(fixed_decimal_test, ties_go_to_the_even_digit) {
  EXPECT_EQ(printed(0.5, 0), "0");
  EXPECT_EQ(printed(1.5, 0), "2");
  EXPECT_EQ(printed(std::nextafter(0.5, 1.0), 0), "1");
  EXPECT_EQ(printed(0.0625, 3), "0.062");
  EXPECT_EQ(printed(0.1875, 3), "0.188");
}

// Numbers of 13 digits on both sides of 2^40 = 1099511627776 and next to ties of the last decimal.
TEST(fixed_decimal_test, long_numbers_beside_ties_are_those_of_printf) {
  for (int decimals = 0; decimals <= 12; ++decimals) {
    const double edge = 1099511627776.0 / std::pow(10.0, decimals);
    for (const double offset : {-1.0, -0.5, -0.0009, 0.0, 0.0009, 0.5, 1.0}) {
      double value = edge + offset / std::pow(10.0, decimals);
      for (int step = 0; step < 50; ++step) {
        EXPECT_EQ(printed(value, decimals), printed_by_printf(value, decimals));
        value = std::nextafter(value, std::numeric_limits<double>::infinity());
      }
    }
  }
}

TEST(fixed_decimal_test, any_count_of_decimals_is_that_of_printf) {
  std::mt19937_64 random(32);
  std::uniform_real_distribution<double> exponents(-12.0, 16.0);
  for (int i = 0; i < 200000; ++i) {
    const double value = (i % 2 == 0 ? 1.0 : -1.0) * std::pow(10.0, exponents(random));
    ASSERT_EQ(printed(value, i % 21), printed_by_printf(value, i % 21)) << value << " with " << i % 21;
  }
}

// A logger may write any spelling of nan, and strtod keeps its sign and its bits.
TEST(fixed_decimal_test, prints_infinities_and_nan) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(printed(infinity, 7), "inf");
  EXPECT_EQ(printed(-infinity, 7), "-inf");
  for (const double kind : {std::nan(""), std::nan("1"), std::numeric_limits<double>::signaling_NaN()}) {
    EXPECT_EQ(printed(std::copysign(kind, 1.0), 7), "nan");
    EXPECT_EQ(printed(std::copysign(kind, -1.0), 7), "-nan");
  }
}

TEST(fixed_decimal_test, the_largest_double_fits) {
  const double most = -std::numeric_limits<double>::max();
  EXPECT_EQ(printed(most, 20).size(), static_cast<std::size_t>(longest_fixed_decimal));
  EXPECT_EQ(printed(most, 20), printed_by_printf(most, 20));
}

}  // namespace

}  // namespace tarvel
