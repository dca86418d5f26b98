#include "track/decimal.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

namespace tarvel {
namespace {

std::uint64_t bits_of(double value) { return std::bit_cast<std::uint64_t>(value); }

struct decimal_case {
  const char *text;
  double expected;
};

const decimal_case decimal_cases[] = {
    {"", 0.0},
    {"0", 0.0},
    {"-0", -0.0},
    {"-0.000", -0.0},
    {"5", 5.0},
    {"+5", 5.0},
    {"+-5", 0.0},
    {"--5", 0.0},
    {"-5.25", -5.25},
    {"5.", 5.0},
    {".5", 0.5},
    {"-.5", -0.5},
    {".", 0.0},
    {"-", 0.0},
    {"-.", 0.0},
    {"1e3", 1000.0},
    {"1E-2", 0.01},
    {"1e", 1.0},
    {"1e+", 1.0},
    {"1e400", HUGE_VAL},
    {"-1e400", -HUGE_VAL},
    {"1e-400", 0.0},
    {"1e3.5", 1000.0},
    {"1e3e3", 1000.0},
    {"1e-", 1.0},
    {"1 e3", 1.0},
    {".e3", 0.0},
    {"-.e3", 0.0},
    {"0e99999999999999999999", 0.0},
    {"1e99999999999999999999", HUGE_VAL},
    {"-1e-99999999999999999999", -0.0},
    {"1e0000000000000000000002", 100.0},
    {"0x10", 16.0},
    {"0X1P4", 16.0},
    {"+0x1.8", 1.5},
    {"0x.8", 0.5},
    {"0xg", 0.0},
    {"1d5", 1.0},
    {"1f", 1.0},
    {"0x", 0.0},
    {"-0x1.8p1", -3.0},
    {"  5.5", 5.5},
    {"\t\v\f5.5", 5.5},
    {"5.5 ", 5.5},
    {"5.5m", 5.5},
    {"5,5", 5.0},
    {"1.2.3", 1.2},
    {"12 34", 12.0},
    {"\n-5.5", -5.5},
    {"\r5.5\r", 5.5},
    {"- 5", 0.0},
    {"0007", 7.0},
    {"-0007.50", -7.5},
    {"+.5", 0.5},
    {"+-.5", 0.0},
    {"\xC2\xA0"
     "5",
     0.0},
    {"m5", 0.0},
    {"inf", HUGE_VAL},
    {"-inf", -HUGE_VAL},
    {"INFINITY", HUGE_VAL},
    {"infinit", HUGE_VAL},
    {"inf1", HUGE_VAL},
    {"1_000", 1.0},
    {"0.1", 0.1},
    // The neighbour above 1 is 1 + 2^-52; half way to it is a tie, which goes to the even 1.
    {"1.00000000000000011102230246251565404236316680908203125", 1.0},
    {"1.00000000000000011102230246251565404236316680908203126", 1.0000000000000002},
    {"9007199254740993", 9007199254740992.0},
    {"9007199254740993.00000000000000000001", 9007199254740994.0},
};

TEST(decimal_test, reads_every_spelling) {
  for (const decimal_case &c : decimal_cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(bits_of(read_decimal(c.text)), bits_of(c.expected));
    EXPECT_EQ(bits_of(std::strtod(c.text, nullptr)), bits_of(c.expected));
  }
}

TEST(decimal_test, reads_not_a_number_with_its_sign) {
  for (const char *const text : {"nan", "-nan", "NaN", "nan(1)", "nan(0x7)", "nan1", "nan(1"}) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(std::isnan(read_decimal(text)));
    EXPECT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text, nullptr)));
  }
}

TEST(decimal_test, reads_numbers_beyond_the_range) {
  const std::string texts[] = {std::string(308, '9'),
                               std::string(309, '9'),
                               std::string(310, '9'),
                               "-" + std::string(400, '1'),
                               "0." + std::string(400, '0') + "1",
                               "-0." + std::string(323, '0') + "4",
                               "0." + std::string(323, '0') + "49406564584124654",
                               "0." + std::string(307, '0') + "22250738585072011",
                               std::string(1000, '0') + "1.5",
                               "0." + std::string(1000, '3'),
                               "1e308",
                               "1.7976931348623157e308",
                               "1.7976931348623158e308",
                               "1.7976931348623159e308",  // past half way to the next: too large
                               "179769313486231580793" + std::string(288, '0'),
                               "4.9406564584124654e-324",
                               "2.4703282292062327e-324",  // half of the smallest, rounded down and up
                               "2.4703282292062328e-324",
                               "2.2250738585072011e-308",
                               "2.2250738585072014e-308",
                               std::string(32000, '9') + "e-31990",
                               "0." + std::string(32000, '0') + "7e32000",
                               "-" + std::string(31000, '0') + "." + std::string(1000, '0') + "12m",
                               std::string(16000, '1') + "." + std::string(16000, '1')};
  for (const std::string &text : texts) {
    SCOPED_TRACE(text);
    EXPECT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text.c_str(), nullptr)));
  }
}

struct plain_case {
  const char *text;
  bool is_plain;
  double expected;  // 42 where the value is unchanged
};

const plain_case plain_cases[] = {
    {"0", true, 0.0},
    {"-0", true, -0.0},
    {"7", true, 7.0},
    {"-12.5", true, -12.5},
    {"5.", true, 5.0},
    {".5", true, 0.5},
    {"-.5", true, -0.5},
    {"999999999999999", true, 999999999999999.0},
    {"-999999999999999", true, -999999999999999.0},
    {".999999999999999", true, 0.999999999999999},
    {"99999999.9999999", true, 99999999.9999999},
    {"-99999999.9999999", true, -99999999.9999999},
    {"999999999999999.", true, 999999999999999.0},
    {"000000000000001", true, 1.0},
    {"9999999999999999", true, 9999999999999999.0},
    {"9999999999999999.", true, 9999999999999999.0},
    {".9999999999999999", true, 0.9999999999999999},
    {"99999999.99999999", true, 99999999.99999999},
    {"0000000000000001", true, 1.0},
    {"18446744073709551617", true, 18446744073709551616.0},
    {"", false, 42.0},
    {"-", false, 42.0},
    {".", false, 42.0},
    {"-.", false, 42.0},
    {"--5", false, 42.0},
    {"5-", false, 42.0},
    {"+5", false, 42.0},
    {" 5", false, 42.0},
    {"5 ", false, 42.0},
    {"1.2.3", false, 42.0},
    {"1..2", false, 42.0},
    {"1e3", true, 1000.0},
    {"-1.5E-2", true, -0.015},
    {"1e+3", true, 1000.0},
    {"1e308", true, 1e308},
    {"1e309", false, 42.0},
    {"-1e309", false, 42.0},
    {"1e-400", true, 0.0},
    {"1e", false, 42.0},
    {"1e+", false, 42.0},
    {"e3", false, 42.0},
    {"-e3", false, 42.0},
    {"1f3", false, 42.0},
    {"1p3", false, 42.0},
    {"0x10", false, 42.0},
    {"1/2", false, 42.0},  // the characters before 0 and after 9
    {"1:2", false, 42.0},
    {"1,2", false, 42.0},
    {"inf", false, 42.0},
    {"-infinity", false, 42.0},
    {"nan", false, 42.0},
    {"nan(1)", false, 42.0},
    {"\xB5", false, 42.0},
};

TEST(decimal_test, reads_the_plain_decimals) {
  for (const plain_case &c : plain_cases) {
    SCOPED_TRACE(c.text);
    double value = 42.0;
    EXPECT_EQ(read_plain_decimal(c.text, value), c.is_plain);
    EXPECT_EQ(bits_of(value), bits_of(c.expected));
  }
}

std::string random_text(std::mt19937 &random, const std::string &alphabet, std::size_t max_length) {
  std::string text;
  for (std::size_t length = random() % (max_length + 1); length > 0; --length)
    text += alphabet[random() % alphabet.size()];
  return text;
}

TEST(decimal_test, agrees_with_strtod_on_random_texts) {
  std::mt19937 random(1);
  const std::string alphabets[] = {"0123456789",    "0123456789.", "0123456789.-",
                                   "01.eE+-",       "0x1aAfFpP.-", " \t+-.019",
                                   "infatyINFATY-", "nan(0)-+",    "0123456789.-+eExXpPinfaINFA() \t,;m"};
  for (int round = 0; round < 300000; ++round) {
    const std::string text = random_text(random, alphabets[random() % std::size(alphabets)], 20);
    ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text.c_str(), nullptr))) << '"' << text << '"';
  }
}

// Every exponent of a double, of numbers below the smallest, and of numbers beyond the greatest.
TEST(decimal_test, reads_exponents_as_strtod_does) {
  std::mt19937_64 random(3);
  for (int round = 0; round < 200000; ++round) {
    const double value = std::bit_cast<double>(random() >> (random() % 4 == 0 ? 12 + random() % 52 : 0));
    char text[64];
    std::snprintf(text, sizeof text, "%.*e", static_cast<int>(random() % 25), value);
    ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text, nullptr))) << text;
    const auto digits = static_cast<unsigned long long>(random() >> (random() % 64));
    std::snprintf(text, sizeof text, "%s%llu.%lluE%d", random() % 2 == 0 ? "-" : "", digits, digits / 7,
                  static_cast<int>(random() % 700) - 350);
    ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text, nullptr))) << text;
  }
}

TEST(decimal_test, rounds_as_strtod_does) {
  std::mt19937_64 random(2);
  for (int round = 0; round < 100000; ++round) {
    // Doubles of every size within a logger's reach, and the ties half way between neighbours, to every last digit.
    const double value = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 80) - 90);
    const double next = std::nextafter(value, HUGE_VAL);
    char text[400];
    std::snprintf(text, sizeof text, "%.*Lf", static_cast<int>(random() % 110),
                  (static_cast<long double>(value) + static_cast<long double>(next)) / 2);
    ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text, nullptr))) << text;
    std::snprintf(text, sizeof text, "%.*f", static_cast<int>(random() % 18), value);
    ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text, nullptr))) << text;
  }
}

// Signs, zeros, digits, exponents and what follows them, in every combination.
TEST(decimal_test, agrees_with_strtod_on_every_combination_of_parts) {
  const char *const signs[] = {"", "-", "+", "--", "+-", " ", "\t-"};
  const char *const wholes[] = {"",   "0",   "00", "7", "007", "9007199254740993", "18446744073709551616",
                                "0x", "inf", "nan"};
  const char *const fractions[] = {"", ".", ".0", ".5", ".0625", ".1234567890123456789012345", "..5", ",5"};
  const char *const exponents[] = {"",     "e",     "e5",    "E-5",    "e+22", "e-23",
                                   "e308", "e-320", "e4000", "e-4000", "p3",   "e5.5"};
  const char *const endings[] = {"", " ", "m", "Z", "\r", "-", "(1)"};
  for (const char *const sign : signs)
    for (const char *const whole : wholes)
      for (const char *const fraction : fractions)
        for (const char *const exponent : exponents)
          for (const char *const ending : endings) {
            const std::string text = std::string(sign) + whole + fraction + exponent + ending;
            ASSERT_EQ(bits_of(read_decimal(text)), bits_of(std::strtod(text.c_str(), nullptr))) << '"' << text << '"';
          }
}

}  // namespace
}  // namespace tarvel
