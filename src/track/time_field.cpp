// Converting the time of each of a million samples with mktime would take as long as the rest of the reader. Samples
// are mostly in order, so the text of the minute converted last is kept with its result; for a time in the same minute
// the seconds are added to that.
//
// That is exact only for a minute of sixty seconds in which the distance to universal time does not change:
//   - A minute is kept only if mktime left its fields as they were given. In the hour that a change to summer time
//     skips it changes them, and its result there may depend on the previous call.
//   - The first and the last second of the minute must have the same distance to universal time, since some zones have
//     changed it in the middle of a minute (Amsterdam, 1937).
//   - In the hour that a change from summer time repeats, mktime uses the same distance as in its previous call, so one
//     call a minute gives what a call for each sample gives. Any other call of mktime discards the minute.

#include "track/time_field.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "support/integer.h"
#include "support/time.h"
#include "track/decimal.h"

namespace tarvel {

namespace {

struct calendar_minute {
  int year = 0;   // as struct tm counts: since 1900
  int month = 0;  // from 0
  int day = 0;
  int hour = 0;
  int minute = 0;
};

// The text of a minute, such as "2024-06-01T12:30:", and its time. Longer texts are not kept.
struct remembered_minute {
  char spelling[24] = {};
  std::size_t length = 0;  // 0: no minute is kept
  std::int64_t start = 0;  // s since the epoch
};

remembered_minute &memory() {
  static remembered_minute minute;
  return minute;
}

// The low 32 bits of a number less the base of its struct tm field: 1900 for the year, 1 for the month.
int calendar_field(unsigned long value, unsigned long base) {
  return static_cast<int>(static_cast<std::uint32_t>(value - base));
}

// Reads a whole number and the separator after it, and moves text past them.
bool read_part(const char *&text, char separator, unsigned long base, int &part) {
  char *end = nullptr;
  const unsigned long value = std::strtoul(text, &end, 10);
  if (end == text || *end != separator) return false;
  part = calendar_field(value, base);
  text = end + 1;
  return true;
}

bool read_minute(const char *&text, calendar_minute &minute) {
  return read_part(text, '-', 1900, minute.year) && read_part(text, '-', 1, minute.month) &&
         read_part(text, 'T', 0, minute.day) && read_part(text, ':', 0, minute.hour) &&
         read_part(text, ':', 0, minute.minute);
}

// Reads the seconds up to the Z. A NUL follows the text.
bool read_seconds(std::string_view text, double &seconds) {
  if (!text.empty() && text.back() == 'Z' && read_plain_decimal(text.substr(0, text.size() - 1), seconds)) {
    return true;
  }
  char *end = nullptr;
  seconds = std::strtod(text.data(), &end);
  return end != text.data() && *end == 'Z';
}

std::tm calendar_time(const calendar_minute &minute, int second) {
  std::tm time = {};
  time.tm_year = minute.year;
  time.tm_mon = minute.month;
  time.tm_mday = minute.day;
  time.tm_hour = minute.hour;
  time.tm_min = minute.minute;
  time.tm_sec = second;
  time.tm_isdst = -1;
  time.tm_wday = -1;  // unchanged when mktime fails
  return time;
}

bool has_fields(const std::tm &time, const calendar_minute &minute, int second) {
  return time.tm_year == minute.year && time.tm_mon == minute.month && time.tm_mday == minute.day &&
         time.tm_hour == minute.hour && time.tm_min == minute.minute && time.tm_sec == second;
}

bool has_offset(std::time_t time, long offset) {
  std::tm local = {};
  return localtime_r(&time, &local) != nullptr && local.tm_gmtoff == offset;
}

std::int64_t seconds_since_epoch(const calendar_minute &minute, std::string_view spelling, int second) {
  forget_calendar_minute();
  std::tm time = calendar_time(minute, second);
  const std::time_t result = std::mktime(&time);

  remembered_minute &remembered = memory();
  const std::time_t start = result - second;
  const bool is_plain = time.tm_wday >= 0 && has_fields(time, minute, second) && has_offset(start, time.tm_gmtoff) &&
                        has_offset(start + 59, time.tm_gmtoff);
  if (is_plain && spelling.size() <= sizeof remembered.spelling) {
    std::copy(spelling.begin(), spelling.end(), remembered.spelling);
    remembered.length = spelling.size();
    remembered.start = start;
  }
  return result;
}

bool is_remembered(std::string_view text) {
  const remembered_minute &minute = memory();
  return minute.length != 0 && text.size() > minute.length &&
         std::memcmp(text.data(), minute.spelling, minute.length) == 0;
}

}  // namespace

void forget_calendar_minute() { memory().length = 0; }

void parse_time_field(std::string_view text, gps_point &sample, error_slot *error) {
  const bool remembered = is_remembered(text);
  const char *position = text.data();
  calendar_minute minute;
  if (remembered) {
    position += memory().length;
  } else if (!read_minute(position, minute)) {
    *error = "invalid time field";
    return;
  }

  double seconds = 0.0;
  if (!read_seconds(text.substr(static_cast<std::size_t>(position - text.data())), seconds)) {
    *error = "invalid time field";
    return;
  }
  // Truncated, not rounded: 1.005 s * 1000.0 lies just below 1005 and gives 1004 ms.
  const std::uint32_t total = truncate_to_uint32(1000.0 * seconds);
  const std::uint32_t second = total / 1000;
  const std::uint32_t millisecond = total % 1000;

  if (remembered && second < 60) {
    sample.time = time_of(memory().start + second, millisecond);
    return;
  }
  if (remembered) {
    position = text.data();
    static_cast<void>(read_minute(position, minute));
  }
  const std::string_view spelling(text.data(), static_cast<std::size_t>(position - text.data()));
  sample.time = time_of(seconds_since_epoch(minute, spelling, static_cast<int>(second)), millisecond);
}

}  // namespace tarvel
