// What the fuzz targets of the delimited readers share.
#pragma once

#include "fuzz_input.h"
#include "track/gps_track.h"

namespace tarvel {

using track_reader = outcome (*)(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

// Any input must give samples or a message.
inline void require_samples_or_message(track_reader read, const std::uint8_t *data, std::size_t size) {
  if (size == 0) return;
  const file_handle stream = open_fuzz_input(data, size);
  gps_track track;
  error_slot error = nullptr;
  warning_buffer warnings;
  const outcome result = read(stream.get(), track, warnings.buffer, &error);
  require_all_or_nothing(result, error, track.points != nullptr && track.count > 0);
}

}  // namespace tarvel
