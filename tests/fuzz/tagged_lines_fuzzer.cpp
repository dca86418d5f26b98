// The tagged-line reader: any input gives samples or a message.
#include "fuzz_track.h"
#include "track/delimited_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  tarvel::require_samples_or_message(tarvel::read_track_tagged_stream, data, size);
  return 0;
}
