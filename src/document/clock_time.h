// The time of a sample on the logger's clock, as text.
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
