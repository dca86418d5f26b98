// The header-line reader: any input gives samples or a message.
#include "fuzz_input.h"
#include "track/delimited_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace tarvel;
  if (size == 0) return 0;
  const file_handle stream = open_fuzz_input(data, size);
  gps_track track;
  error_slot error = nullptr;
  warning_buffer warnings;
  const outcome result = read_track_header_csv_stream(stream.get(), track, warnings.buffer, &error);
  require_all_or_nothing(result, error, track.points != nullptr && track.count > 0);
  return 0;
}
