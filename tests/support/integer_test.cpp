#include "support/integer.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarvel {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

struct int64_case {
  const char *name;
  double value;
  std::int64_t expected;
};

// Doubles near 2^63 are 1024 apart below it and 2048 above it.
const int64_case int64_cases[] = {
    {"zero", 0.0, 0},
    {"minus zero", -0.0, 0},
    {"just below one", 0x1.fffffffffffffp-1, 0},
    {"just above minus one", -0x1.fffffffffffffp-1, 0},
    {"one", 1.0, 1},
    {"rounds towards zero from above", 2.999, 2},
    {"rounds towards zero from below", -2.999, -2},
    {"above 32 bits", 1717237805250.75, 1717237805250},
    {"the last double below 2^63", 9223372036854774784.0, 9223372036854774784},
    {"2^63", 9223372036854775808.0, INT64_MIN},
    {"the first double above 2^63", 9223372036854777856.0, INT64_MIN},
    {"the first double above -2^63", -9223372036854774784.0, -9223372036854774784},
    {"-2^63", -9223372036854775808.0, INT64_MIN},
    {"the last double below -2^63", -9223372036854777856.0, INT64_MIN},
    {"the largest double", std::numeric_limits<double>::max(), INT64_MIN},
    {"a denormal", std::numeric_limits<double>::denorm_min(), 0},
    {"infinity", infinity, INT64_MIN},
    {"minus infinity", -infinity, INT64_MIN},
    {"not a number", not_a_number, INT64_MIN},
    {"minus not a number", -not_a_number, INT64_MIN},
};

TEST(integer_test, truncates_to_64_bits) {
  for (const int64_case &c : int64_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(truncate_to_int64(c.value), c.expected);
  }
}

struct uint32_case {
  const char *name;
  double value;
  std::uint32_t expected;
};

const uint32_case uint32_cases[] = {
    {"zero", 0.0, 0},
    {"a millisecond short of two", 1.999, 1},
    {"just above minus one", -0.999, 0},
    {"minus one", -1.0, 4294967295U},
    {"minus one and a half", -1.5, 4294967295U},
    {"above 2^31", 2147483648.0, 2147483648U},
    {"the last 32-bit value", 4294967295.9, 4294967295U},
    {"2^32", 4294967296.0, 0},
    {"2^32 + 7", 4294967303.0, 7},
    {"-2^32 - 1", -4294967297.0, 4294967295U},
    // 2^62 + 2^40 + 2^10, whose low 32 bits are 2^10.
    {"more than 32 bits", 0x1.0000040000001p+62, 1024},
    {"the low bits of INT64_MIN for 2^63", 9223372036854775808.0, 0},
    {"not a number", not_a_number, 0},
    {"infinity", infinity, 0},
    {"minus infinity", -infinity, 0},
};

TEST(integer_test, keeps_the_low_32_bits) {
  for (const uint32_case &c : uint32_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(truncate_to_uint32(c.value), c.expected);
  }
}

}  // namespace
}  // namespace tarvel
