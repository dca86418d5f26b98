// Compares conversions that keep the last minute with one call of mktime for each row, across changes of the clock. In
// a repeated hour the result of mktime depends on its previous call, so each sequence of rows is converted in two new
// processes.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "support/failing_calls.h"
#include "support/files.h"
#include "support/integer.h"
#include "track/time_field.h"

namespace tarvel {
namespace {

constexpr std::int64_t refused = -987654321;

std::int64_t remembering(const std::string &text) {
  gps_point sample;
  error_slot error = nullptr;
  parse_time_field(text, sample, &error);
  return error == nullptr ? sample.time : refused;
}

bool next_part(const char *&text, char separator, int &part) {
  char *end = nullptr;
  part = static_cast<int>(static_cast<unsigned>(std::strtoul(text, &end, 10)));
  const bool is_good = end != text && *end == separator;
  text = end + 1;
  return is_good;
}

// The whole rule for one row, with one call of mktime.
std::int64_t asking_each_time(const std::string &row) {
  const char *text = row.c_str();
  std::tm time = {};
  if (!next_part(text, '-', time.tm_year) || !next_part(text, '-', time.tm_mon) ||
      !next_part(text, 'T', time.tm_mday) || !next_part(text, ':', time.tm_hour) ||
      !next_part(text, ':', time.tm_min)) {
    return refused;
  }
  char *end = nullptr;
  const double seconds = std::strtod(text, &end);
  if (end == text || *end != 'Z') return refused;
  const std::uint32_t milliseconds = truncate_to_uint32(1000.0 * seconds);
  time.tm_year = static_cast<int>(static_cast<unsigned>(time.tm_year) - 1900U);
  time.tm_mon = static_cast<int>(static_cast<unsigned>(time.tm_mon) - 1U);
  time.tm_sec = static_cast<int>(milliseconds / 1000);
  time.tm_isdst = -1;
  const auto result = static_cast<std::uint64_t>(std::mktime(&time));
  return static_cast<std::int64_t>(result * 1000 + milliseconds % 1000);
}

// Converts the rows in a new process, which has not called mktime before.
std::vector<std::int64_t> in_new_process(const char *zone, const std::vector<std::string> &rows,
                                         std::int64_t (*convert)(const std::string &)) {
  const file_handle results(std::tmpfile());
  const pid_t child = fork();
  if (child == 0) {
    setenv("TZ", zone, 1);
    tzset();
    for (const std::string &row : rows) {
      const std::int64_t time = convert(row);
      std::fwrite(&time, sizeof time, 1, results.get());
    }
    std::fflush(results.get());
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  std::vector<std::int64_t> times(rows.size());
  std::rewind(results.get());
  EXPECT_EQ(std::fread(times.data(), sizeof(std::int64_t), times.size(), results.get()), rows.size());
  return times;
}

void expect_equal_times(const char *zone, const std::vector<std::string> &rows) {
  const std::vector<std::int64_t> expected = in_new_process(zone, rows, asking_each_time);
  const std::vector<std::int64_t> actual = in_new_process(zone, rows, remembering);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_EQ(actual[i], expected[i]) << zone << ": row " << i << ": " << rows[i];
  }
}

// When the ends of the minute cannot be checked, the minute is not kept, and the results are still right.
TEST(calendar_test, converts_rows_when_localtime_fails) {
  for (const std::size_t granted : {0U, 1U, 2U}) {
    SCOPED_TRACE(granted);
    const failing_call calendar(c_call::localtime_r, granted, EOVERFLOW);
    // 19875 days, 12 h and 30 min since the epoch.
    EXPECT_EQ(remembering("2024-06-01T12:30:00.00Z"), 1717245000000);
    EXPECT_EQ(remembering("2024-06-01T12:30:59.50Z"), 1717245059500);
    EXPECT_EQ(remembering("2024-06-01T12:31:00.00Z"), 1717245060000);
  }
}

struct zone_case {
  const char *zone;
  const char *day;  // with the change of the clock
  int first_hour;   // the change lies in the four hours from here
};

const zone_case zone_cases[] = {
    {"UTC", "2024-03-31", 0},
    {"Europe/Amsterdam", "2024-03-31", 0},
    {"Europe/Amsterdam", "2024-10-27", 1},
    {"America/New_York", "2024-03-10", 0},
    {"America/New_York", "2024-11-03", 0},
    {"Australia/Lord_Howe", "2024-04-07", 0},  // half an hour back
    {"Australia/Lord_Howe", "2024-10-06", 0},  // half an hour ahead
    {"Antarctica/Troll", "2024-10-27", 0},     // two hours back
    {"Europe/Dublin", "2024-10-27", 0},        // summer time is the standard there
    {"Pacific/Apia", "2011-12-30", 0},         // a day that was left out
    {"America/Caracas", "2007-12-09", 1},      // half an hour back, permanently
    {"Africa/Monrovia", "1972-01-07", 0},      // 44 min 30 s ahead
    {"Europe/Amsterdam", "1937-06-30", 22},    // 28 s ahead at midnight
    {"Europe/Amsterdam", "1937-07-01", 0},
    {"Europe/Paris", "1911-03-10", 21},            // 9 min 21 s back at midnight
    {"right/Europe/Amsterdam", "2016-12-31", 23},  // a leap second
    // Changes in the middle of a minute; these zones need no table.
    {"AAA-1BBB,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-03-31", 0},
    {"AAA-1BBB,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-10-27", 1},
    {"AAA-1BBB-1:00:20,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-03-31", 0},
    {"AAA-1BBB-1:00:20,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-10-27", 1},
    {"AAA-1BBB-1:01:10,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-10-27", 1},
    {"CET-1CEST,M3.5.0,M10.5.0/3", "2024-10-27", 1},
};

std::string row_at(const char *day, int hour, int minute, double second) {
  char row[64];
  std::snprintf(row, sizeof row, "%sT%02d:%02d:%06.3fZ", day, hour, minute, second);
  return row;
}

// Every step seconds of the four hours around the change.
std::vector<std::string> rows_around(const zone_case &c, int step) {
  std::vector<std::string> rows;
  for (int second = 0; second < 4 * 3600; second += step) {
    rows.push_back(row_at(c.day, c.first_hour + second / 3600, second / 60 % 60, second % 60 + 0.2));
  }
  return rows;
}

TEST(calendar_test, agrees_on_rows_in_order) {
  for (const zone_case &c : zone_cases) {
    for (const int step : {1, 7, 29}) expect_equal_times(c.zone, rows_around(c, step));
  }
}

TEST(calendar_test, agrees_on_rows_in_reverse) {
  for (const zone_case &c : zone_cases) {
    std::vector<std::string> rows = rows_around(c, 3);
    expect_equal_times(c.zone, {rows.rbegin(), rows.rend()});
  }
}

// The result for a repeated hour depends on the row before it: in summer time, in winter time, or in that hour.
TEST(calendar_test, agrees_on_rows_in_any_order) {
  std::mt19937 random(5);
  for (const zone_case &c : zone_cases) {
    const std::vector<std::string> around = rows_around(c, 1);
    for (int sequence = 0; sequence < 8; ++sequence) {
      std::vector<std::string> rows;
      std::size_t index = 0;
      for (int i = 0; i < 3000; ++i) {
        const auto kind = random() % 100;
        if (kind == 0) rows.emplace_back("2024-07-01T12:00:00.000Z");
        if (kind == 1) rows.emplace_back("2024-01-01T12:00:00.000Z");
        if (kind == 2) rows.push_back(row_at(c.day, c.first_hour + 1, 59, static_cast<double>(60 + random() % 4000)));
        if (kind == 3) rows.emplace_back("junk");
        if (kind < 20) index = random() % around.size();
        // Mostly a few seconds on or back, often within the minute.
        index = (index + around.size() + random() % 90 - 30) % around.size();
        rows.push_back(around[index]);
      }
      expect_equal_times(c.zone, rows);
    }
  }
}

TEST(calendar_test, agrees_on_hostile_parts) {
  const char *const parts[] = {"0",          "1",          "2",          "00", "-1",  "13",  "31",
                               "59",         "60",         "99",         "+3", " 10", "367", "4294967295",
                               "4294967296", "2147483647", "2147485547", "",   "x",   "1.5", "99999999999999999999",
                               "1970",       "2024"};
  const char *const seconds[] = {"0",     "05.2", "59.999", "60",   "61", "-1",     "1e3",
                                 "1e300", "nan",  "inf",    "0x10", "",   "4294967"};
  std::mt19937 random(6);
  for (const char *const zone : {"UTC", "Europe/Amsterdam", "America/New_York", "Australia/Lord_Howe"}) {
    std::vector<std::string> rows;
    for (int i = 0; i < 5000; ++i) {
      // One part or two of a good row are replaced, and a good row follows.
      std::string row[] = {"2024", "10", "27", "02", "30"};
      for (int changes = 1 + static_cast<int>(random() % 2); changes > 0; --changes) {
        row[random() % 5] = parts[random() % std::size(parts)];
      }
      rows.push_back(row[0] + "-" + row[1] + "-" + row[2] + "T" + row[3] + ":" + row[4] + ":" +
                     seconds[random() % std::size(seconds)] + "Z");
      rows.push_back("2024-10-27T02:30:" + std::string(seconds[random() % std::size(seconds)]) + "Z");
    }
    expect_equal_times(zone, rows);
  }
}

struct known_time {
  const char *zone;
  const char *text;
  std::int64_t expected;
};

// Computed from the zones' distances to universal time. They show that the zone tables are installed: without them
// every zone would be universal time, and the tests above would find nothing.
const known_time known_times[] = {
    {"UTC", "2024-06-01T12:30:05.250Z", 1717245005250},
    {"Europe/Amsterdam", "2024-06-01T12:30:05.250Z", 1717245005250 - 2 * 3600000},
    {"Europe/Amsterdam", "2024-01-01T00:00:00Z", 1704067200000 - 3600000},
    {"America/New_York", "2024-06-01T12:30:05.250Z", 1717245005250 + 4 * 3600000},
    {"Australia/Lord_Howe", "2024-06-01T12:30:05.250Z", 1717245005250 - 10 * 3600000 - 1800000},
    {"Australia/Lord_Howe", "2024-01-01T00:00:00Z", 1704067200000 - 11 * 3600000},
    {"CET-1CEST,M3.5.0,M10.5.0/3", "2024-06-01T12:30:05.250Z", 1717245005250 - 2 * 3600000},
    // 2024-03-31 02:00:30 is 01:00:30 in universal time, 1711846830; from then on the clock is 20 s further ahead.
    {"AAA-1BBB-1:00:20,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-03-31T02:00:29Z", 1711846829000},
    {"AAA-1BBB-1:00:20,M3.5.0/2:00:30,M10.5.0/3:00:30", "2024-03-31T02:00:55Z", 1711846835000},
};

TEST(calendar_test, finds_the_zone_tables) {
  for (const known_time &c : known_times) {
    SCOPED_TRACE(c.zone);
    SCOPED_TRACE(c.text);
    EXPECT_EQ(in_new_process(c.zone, {c.text}, remembering), std::vector{c.expected});
  }
}

}  // namespace
}  // namespace tarvel
