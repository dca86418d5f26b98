// The clock time of a sample: "2024-06-01T12:30:05.250Z" to milliseconds.
#pragma once

#include <string_view>

#include "support/error_slot.h"
#include "track/gps_point.h"

namespace tarvel {

// Fills sample.time with the milliseconds since the epoch of that clock time on this machine's clock: although the text
// ends in Z, it is read as local time, and the map prints it back as local time. A NUL follows the text. Parts out of
// range are carried over as mktime does; what follows the Z is ignored. Fails with "invalid time field".
void parse_time_field(std::string_view text, gps_point &sample, error_slot *error);

// Drops the remembered calendar minute, for a new file or after a change of the time zone.
void forget_calendar_minute();

}  // namespace tarvel
