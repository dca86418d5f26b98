#include "checker/number_arguments.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvel {
namespace {

struct number_case {
  const char *argument;
  bool is_number;
  std::uint32_t expected;
};

template <typename T>
void expect_number(const number_case &c, void (*parse)(const char *, T &, error_slot *), const std::string &message) {
  SCOPED_TRACE(c.argument);
  T number = 7;
  error_slot error = nullptr;
  parse(c.argument, number, &error);
  if (c.is_number) {
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(number, c.expected);
  } else {
    EXPECT_EQ(error, message + ": " + c.argument);
  }
}

// ms; 2^32 ms are 4,294,967.296 s.
const number_case times_aloft[] = {
    {"0", true, 0},
    {"0.05", true, 50},
    {"5", true, 5000},
    {"2.25e1", true, 22500},
    {"4294967", true, 4294967000},
    {"4294967.5", false, 0},
    {"1e300", false, 0},
    {"-0.5", false, 0},
    {"nan", false, 0},
    {"inf", false, 0},
    {"", false, 0},
    {"5s", false, 0},
    {" 5", false, 0},
    {"+5", false, 0},
    {"0x10", false, 0},
    {"5,5", false, 0},
};

TEST(number_arguments_test, takes_a_time_aloft_in_decimal_seconds) {
  for (const number_case &c : times_aloft) expect_number(c, parse_time_aloft, "not a number of seconds");
}

const number_case numbers_of_draws[] = {
    {"40", true, 40},  {"400", true, 400}, {"10000", true, 10000},   {"39", false, 0}, {"10001", false, 0},
    {"-40", false, 0}, {"40.0", false, 0}, {"4294967336", false, 0}, {"", false, 0},   {"many", false, 0},
};

TEST(number_arguments_test, takes_40_to_10000_draws) {
  for (const number_case &c : numbers_of_draws) expect_number(c, parse_draws, "not a number of draws from 40 to 10000");
}

const number_case seeds[] = {
    {"0", true, 0},    {"101", true, 101}, {"-1", false, 0},   {"18446744073709551616", false, 0},
    {"1.5", false, 0}, {"", false, 0},     {"seed", false, 0},
};

TEST(number_arguments_test, takes_a_seed_of_64_bits) {
  for (const number_case &c : seeds) expect_number(c, parse_seed, "not a whole number");
  std::uint64_t greatest = 0;
  error_slot error = nullptr;
  parse_seed("18446744073709551615", greatest, &error);
  EXPECT_EQ(greatest, UINT64_MAX);
}

}  // namespace
}  // namespace tarvel
