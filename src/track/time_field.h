// Converts the clock time of a sample, such as "2024-06-01T12:30:05.250Z", to milliseconds.
#pragma once

#include <string_view>

#include "support/error_slot.h"
#include "track/gps_point.h"

namespace tarvel {

// Fills sample.time with milliseconds since the epoch. Although the text ends in Z, it is read as local time; the map
// also prints local time. A NUL follows the text. Parts out of range are carried over as by mktime; text after the Z is
// ignored. Fails with "invalid time field".
void parse_time_field(std::string_view text, gps_point &sample, error_slot *error);

// Discards the minute that is kept. Call it before each new file and after a change of the time zone.
void forget_calendar_minute();

}  // namespace tarvel
