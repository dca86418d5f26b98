#include "document/clock_time.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace tarvel {

clock_time clock_time_at(std::int64_t time) {
  clock_time clock;
  std::int64_t milliseconds = time % 1000;
  std::time_t seconds = time / 1000;
  if (milliseconds < 0) {
    milliseconds += 1000;
    --seconds;
  }
  std::tm local = {};
  if (localtime_r(&seconds, &local) == nullptr) return clock;
  const long long year = 1900LL + local.tm_year;
  // The width of a negative number would count its sign.
  std::snprintf(clock.text, sizeof clock.text, "%s%04lld-%02d-%02dT%02d:%02d:%02d.%03d", year < 0 ? "-" : "",
                std::llabs(year), local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(milliseconds));
  return clock;
}

}  // namespace tarvel
