// A sample's time as the logger's clock showed it.
#pragma once

#include <cstdint>

namespace tarvel {

// "2026-05-16T13:05:31.250", or an empty text for a time that the calendar cannot express.
struct clock_time {
  char text[48] = {};
};

// The time in ms since the epoch is printed as local time, as it was read.
[[nodiscard]] clock_time clock_time_at(std::int64_t time);

}  // namespace tarvel
