// The .tvl reader, for a run and for a course. It never stores more samples or points than the input has bytes for.
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
  // A container may have no samples. Its sections may overlap, its samples may not.
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
