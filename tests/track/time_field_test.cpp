#include "track/time_field.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace tarvel {
namespace {

constexpr std::int64_t untouched = -77;

struct time_result {
  std::int64_t time = untouched;
  error_slot error = nullptr;
};

time_result parse(const std::string &text) {
  gps_point sample;
  sample.time = untouched;
  error_slot error = nullptr;
  parse_time_field(text, sample, &error);
  return {sample.time, error};
}

struct time_case {
  const char *name;
  const char *text;
  std::int64_t expected;  // ms, in universal time
};

// 2024-06-01 is day 19875: 54 years of 365 days, 13 leap days before 2024 (1972 to 2020), 152 days of 2024. 12:30 is
// 45000 s, so that 12:30:00 is 1717200000 + 45000 = 1717245000.
constexpr std::int64_t half_past_noon = 1717245000000;

const time_case time_cases[] = {
    {"as loggers write it", "2024-06-01T12:30:05.250Z", half_past_noon + 5250},
    {"no fraction", "2024-06-01T12:30:05Z", half_past_noon + 5000},
    {"a point without digits", "2024-06-01T12:30:05.Z", half_past_noon + 5000},
    {"no leading zero in the seconds", "2024-06-01T12:30:.5Z", half_past_noon + 500},
    {"1.005 * 1000.0 is just below 1005", "2024-06-01T12:30:01.005Z", half_past_noon + 1004},
    {"a double below its decimal whose product is not", "2024-06-01T12:30:01.025Z", half_past_noon + 1025},
    {"more digits than milliseconds", "2024-06-01T12:30:05.2509Z", half_past_noon + 5250},
    {"the last millisecond of the minute", "2024-06-01T12:30:59.999Z", half_past_noon + 59999},
    {"second 60 is in the next minute", "2024-06-01T12:30:60Z", half_past_noon + 60000},
    {"second 61.5", "2024-06-01T12:30:61.5Z", half_past_noon + 61500},
    {"an hour of seconds", "2024-06-01T12:30:3600Z", half_past_noon + 3600000},
    {"seconds with an exponent", "2024-06-01T12:30:1e3Z", half_past_noon + 1000000},
    {"seconds in base 16", "2024-06-01T12:30:0x10Z", half_past_noon + 16000},
    {"seconds with a sign", "2024-06-01T12:30:+5.5Z", half_past_noon + 5500},
    {"seconds behind a blank", "2024-06-01T12:30: 5.5Z", half_past_noon + 5500},
    {"minus zero seconds", "2024-06-01T12:30:-0.0Z", half_past_noon},
    {"less than a millisecond before", "2024-06-01T12:30:-0.0009Z", half_past_noon},
    // -1000 has the low 32 bits 4294966296: 4294966 s and 296 ms.
    {"a second before", "2024-06-01T12:30:-1Z", half_past_noon + 4294966296},
    // 4294967.296 s * 1000 is 2^32: its low 32 bits are 0.
    {"as many milliseconds as 32 bits count", "2024-06-01T12:30:4294967.295Z", half_past_noon + 4294967295},
    {"one more", "2024-06-01T12:30:4294967.296Z", half_past_noon},
    {"seconds beyond 64 bits", "2024-06-01T12:30:1e300Z", half_past_noon},
    {"infinite seconds", "2024-06-01T12:30:infZ", half_past_noon},
    {"seconds that are no number", "2024-06-01T12:30:nanZ", half_past_noon},
    {"what follows the Z is ignored", "2024-06-01T12:30:05Z+02:00", half_past_noon + 5000},
    {"single digits", "2024-6-1T12:30:5Z", half_past_noon + 5000},
    {"leading zeros", "0002024-0006-0001T0012:0030:0005Z", half_past_noon + 5000},
    {"blanks before the numbers", " 2024- 06- 1T 12: 30: 5Z", half_past_noon + 5000},
    {"signs before the numbers", "+2024-+6-+1T+12:+30:+5Z", half_past_noon + 5000},
    {"minute 90", "2024-06-01T11:90:05Z", half_past_noon + 5000},
    {"hour 36", "2024-05-31T36:30:05Z", half_past_noon + 5000},
    {"32nd of May", "2024-05-32T12:30:05Z", half_past_noon + 5000},
    {"month 18 of 2022", "2022-18-01T12:30:05Z", half_past_noon - 366LL * 86400000 + 5000},
    {"day 0 is the day before", "2024-06-00T12:30:00Z", half_past_noon - 86400000},
    {"month 0 is December", "2024-00-31T12:30:00Z", half_past_noon - 153LL * 86400000},
    {"minute -1", "2024-06-01T12:-1:00Z", half_past_noon - 31LL * 60000},
    {"29 February", "2024-02-29T00:00:00Z", 1709164800000},
    {"29 February in a common year", "2023-02-29T00:00:00Z", 1677628800000},
    {"the epoch", "1970-01-01T00:00:00Z", 0},
    {"before the epoch", "1969-12-31T23:59:58.750Z", -1250},
    {"one second before the epoch", "1969-12-31T23:59:59.000Z", -1000},
    {"a year of more than four digits", "10000-01-01T00:00:00Z", 253402300800000},
    // Only the low 32 bits of a part are used.
    {"a year of 2^32 + 2024", "4294969320-06-01T12:30:00Z", half_past_noon},
    {"a minute of 2^32 + 30", "2024-06-01T12:4294967326:00Z", half_past_noon},
    // The calendar has no such year: mktime gives -1.
    // 67767976233532800 s: 1000 times that is beyond 64 bits and wraps.
    {"the year 2^31", "2147483647-13-01T00:00:00.250Z", -6019000061305406214},
    {"a year beyond the calendar", "2147485547-13-01T00:00:00.250Z", -750},
};

TEST(time_field_test, reads_the_clock_time) {
  for (const time_case &c : time_cases) {
    SCOPED_TRACE(c.name);
    forget_calendar_minute();
    EXPECT_EQ(parse(c.text).time, c.expected);
    // The minute may be kept now.
    EXPECT_EQ(parse(c.text).time, c.expected);
    EXPECT_EQ(parse(c.text).error, nullptr);
    EXPECT_EQ(parse("2024-06-01T12:30:07Z").time, half_past_noon + 7000);
    EXPECT_EQ(parse(c.text).time, c.expected);
  }
}

// mktime gives -1 for a time that it cannot express, to which no seconds may be added.
TEST(time_field_test, does_not_remember_a_minute_that_the_calendar_refuses) {
  forget_calendar_minute();
  EXPECT_EQ(parse("2147485547-13-01T00:00:05.250Z").time, -750);
  EXPECT_EQ(parse("2147485547-13-01T00:00:07.500Z").time, -500);
  EXPECT_EQ(parse("2147485547-13-01T00:00:00.000Z").time, -1000);
}

// The text that is kept has at most 24 bytes, up to the colon after the minute.
TEST(time_field_test, reads_spellings_of_any_length) {
  const std::string minute = "2024-06-01T12:30:";
  for (const std::size_t zeros : {1U, 6U, 7U, 8U, 9U, 50U, 5000U}) {
    SCOPED_TRACE(zeros);
    const std::string text = std::string(zeros, '0') + minute;
    EXPECT_EQ(parse(text + "05.250Z").time, half_past_noon + 5250);
    EXPECT_EQ(parse(text + "59Z").time, half_past_noon + 59000);
    EXPECT_EQ(parse(minute + "07Z").time, half_past_noon + 7000);
  }
}

const char *const invalid_texts[] = {
    "",
    "Z",
    "2024",
    "2024-",
    "2024-06-01",
    "2024-06-01T",
    "2024-06-01T12",
    "2024-06-01T12:30",
    "2024-06-01T12:30:",
    "2024-06-01T12:30:Z",
    "2024-06-01T12:30:05",
    "2024-06-01T12:30:05z",
    "2024-06-01T12:30:05.250",
    "2024-06-01T12:30:05 Z",
    "2024-06-01T12:30:05.2.5Z",
    "2024-06-01T12:30:1eZ",
    "2024-06-01T12:30:junkZ",
    "2024-06-01T12:30:-Z",
    "2024-06-01T12:30:.Z",
    "2024-06-01 12:30:05Z",
    "2024-06-01t12:30:05Z",
    "2024/06/01T12:30:05Z",
    "2024-06-01T12-30-05Z",
    "2024-06-01T12:30-05Z",
    "2024 -06-01T12:30:05Z",
    "-06-01T12:30:05Z",
    "2024--01T12:30:05Z",
    "2024-06-T12:30:05Z",
    "2024-06-01T:30:05Z",
    "2024-06-01T12::05Z",
    "2024.0-06-01T12:30:05Z",
    "0x7E8-06-01T12:30:05Z",
    "junk-06-01T12:30:05Z",
};

TEST(time_field_test, refuses_what_is_no_clock_time) {
  for (const char *const text : invalid_texts) {
    for (const bool is_remembered : {false, true}) {
      SCOPED_TRACE(text);
      forget_calendar_minute();
      if (is_remembered) static_cast<void>(parse("2024-06-01T12:30:05.250Z"));
      const time_result result = parse(text);
      EXPECT_STREQ(result.error, "invalid time field");
      EXPECT_EQ(result.time, untouched);
    }
  }
}

TEST(time_field_test, refuses_every_cut_of_a_clock_time) {
  const std::string whole = "2024-06-01T12:30:05.250Z";
  for (const bool is_remembered : {false, true}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      SCOPED_TRACE(size);
      forget_calendar_minute();
      if (is_remembered) static_cast<void>(parse(whole));
      EXPECT_STREQ(parse(whole.substr(0, size)).error, "invalid time field");
    }
  }
}

// Tracks may be read before and after a change of the zone.
TEST(time_field_test, calls_mktime_again_once_the_minute_is_discarded) {
  EXPECT_EQ(parse("2024-06-01T12:30:05Z").time, half_past_noon + 5000);
  setenv("TZ", "EST5", 1);
  forget_calendar_minute();
  EXPECT_EQ(parse("2024-06-01T12:30:05Z").time, half_past_noon + 5 * 3600000 + 5000);
  setenv("TZ", "UTC", 1);
  forget_calendar_minute();
  EXPECT_EQ(parse("2024-06-01T12:30:05Z").time, half_past_noon + 5000);
}

// Rows of one minute take one call of mktime: the other zone shows in the next minute only. A text of more than 24 bytes
// is not kept.
TEST(time_field_test, keeps_a_minute_until_it_is_discarded) {
  for (const std::size_t zeros : {0U, 7U, 8U}) {
    SCOPED_TRACE(zeros);
    forget_calendar_minute();
    const std::string hour = std::string(zeros, '0') + "2024-06-01T12:";
    EXPECT_EQ(parse(hour + "30:05Z").time, half_past_noon + 5000);
    setenv("TZ", "EST5", 1);
    EXPECT_EQ(parse(hour + "30:07Z").time, half_past_noon + (zeros < 8 ? 0 : 5 * 3600000) + 7000);
    EXPECT_EQ(parse(hour + "31:00Z").time, half_past_noon + 5 * 3600000 + 60000);
    setenv("TZ", "UTC", 1);
  }
  forget_calendar_minute();
}

// Whole milliseconds from every spelling of the seconds, worked out in integers.
TEST(time_field_test, truncates_every_thousandth_as_binary_seconds_do) {
  for (int millisecond = 0; millisecond < 60000; millisecond += 7) {
    char text[40];
    std::snprintf(text, sizeof text, "2024-06-01T12:30:%02d.%03dZ", millisecond / 1000, millisecond % 1000);
    const std::int64_t time = parse(text).time - half_past_noon;
    const volatile double seconds = std::strtod(text + 17, nullptr);
    const volatile double product = 1000.0 * seconds;
    ASSERT_EQ(time, static_cast<std::int64_t>(product)) << text;
    // Truncation takes at most one millisecond.
    ASSERT_LE(time, millisecond);
    ASSERT_GE(time, millisecond - 1);
  }
}

}  // namespace
}  // namespace tarvel
