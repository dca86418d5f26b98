// The .tvl reader, for a swoop and for a gate: memory never exceeds what the bytes can hold.
#include "container/tvl_file.h"
#include "fuzz_input.h"

namespace {

using namespace tarvel;

void read_as_swoop(const std::uint8_t *data, std::size_t size) {
  const file_handle stream = open_fuzz_input(data, size);
  gps_track track;
  error_slot error = nullptr;
  const outcome result = read_swoop_stream(stream.get(), track, &error);
  require_answer(result, error);
  // A container may hold no samples; its sections may overlap, but not its samples one another.
  require(error == nullptr || (track.points == nullptr && track.count == 0));
  require(track.count <= size / 70);
}

void read_as_gate(const std::uint8_t *data, std::size_t size) {
  const file_handle stream = open_fuzz_input(data, size);
  course gate;
  error_slot error = nullptr;
  const outcome result = read_gate_stream(stream.get(), gate, &error);
  require_all_or_nothing(result, error, gate.pond.has_value());
  require(!gate.pond || gate.pond->count <= size / 16);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  read_as_swoop(data, size);
  read_as_gate(data, size);
  return 0;
}
