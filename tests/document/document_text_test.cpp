#include "document/document_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

std::string written(const document_text &text) { return {text.data.get(), text.size}; }

struct number_case {
  double value;
  const char *expected;
};

const number_case thousandths_cases[] = {
    {0.0, "0"},
    {-0.0, "0"},
    {-0.0004, "0"},
    {0.0005, "0.001"},
    {-0.0005, "-0.001"},
    {0.1, "0.1"},
    {-0.12, "-0.12"},
    {1.005, "1.005"},
    {12.0, "12"},
    {-120.03, "-120.03"},
    {999.9996, "1000"},
    {9'007'199'254'740.992, "9007199254740.992"},  // 2^53 thousandths
    {9'007'199'254'740.994, "9007199254740.994"},  // beyond, as the library writes it
    {1e300, "1e+300"},
    {std::numeric_limits<double>::infinity(), "null"},
    {std::numeric_limits<double>::quiet_NaN(), "null"},
};

TEST(document_text_test, writes_thousandths) {
  for (const number_case &c : thousandths_cases) {
    SCOPED_TRACE(c.value);
    document_text text;
    append_thousandths(text, c.value);
    EXPECT_EQ(written(text), c.expected);
  }
}

struct integer_case {
  std::int64_t value;
  const char *expected;
};

const integer_case integer_cases[] = {
    {0, "0"},
    {-1, "-1"},
    {greatest_json_integer, "9007199254740992"},
    {greatest_json_integer + 1, "null"},
    {-greatest_json_integer, "-9007199254740992"},
    {-greatest_json_integer - 1, "null"},
    {INT64_MIN, "null"},
};

TEST(document_text_test, writes_integers_that_every_reader_can_hold) {
  for (const integer_case &c : integer_cases) {
    SCOPED_TRACE(c.value);
    document_text text;
    append_integer(text, c.value);
    EXPECT_EQ(written(text), c.expected);
  }
}

TEST(document_text_test, separates_members_and_elements) {
  document_text text;
  append(text, "{");
  append_member(text, "a", "b\"\xff");
  append_column(text, "none", append_integer, std::vector<int>(), [](int i) { return std::int64_t{i}; });
  append_column(text, "some", append_thousandths, std::vector<int>{1, 2}, [](int i) { return i / 4.0; });
  append(text, "}");
  EXPECT_EQ(written(text), "{\"a\":\"b\\\"\xef\xbf\xbd\",\"none\":[],\"some\":[0.25,0.5]}");
}

TEST(document_text_test, leaves_out_what_there_is_no_memory_for) {
  document_text text;
  append(text, "kept");
  const std::string more(text.capacity, '.');
  {
    const allocation_limit limit(0);
    append(text, more);
  }
  EXPECT_TRUE(text.is_short_of_memory);
  EXPECT_EQ(written(text), "kept");
}

}  // namespace
}  // namespace tarvel
