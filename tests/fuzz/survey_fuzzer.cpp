// A whole survey, from the bytes of a walk to the course with its pond, the map, the course file and the container.
#include <utility>

#include "container/tvl_file.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "fuzz_input.h"
#include "gate/pond.h"
#include "gate/survey.h"
#include "geo/course_frame.h"
#include "loader/track_loader.h"

namespace {

using namespace tarvel;

// False for input that is no track, and for a surveyed course, which has no walk.
bool load_walk(const std::uint8_t *data, std::size_t size, gps_track &track) {
  const file_handle stream = open_fuzz_input(data, size);
  gate_file_data loaded;
  warning_buffer warnings;
  error_slot error = nullptr;
  const outcome result = load_gate_stream(stream.get(), loaded, warnings.buffer, &error);
  require_all_or_nothing(result, error, loaded.course.pond.has_value() || loaded.track.count > 0);
  require(!loaded.course.pond || loaded.track.points == nullptr);
  track = std::move(loaded.track);
  return track.count > 0;
}

void require_outputs(gate &walked) {
  // A sample may be a point of each of the four legs.
  require(!walked.course.pond || walked.course.pond->count <= 4 * std::size_t{walked.track_len} + 1);
  const gate_ends ends = entry_gate_ends(walked.course.matrix);
  const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_kml(nowhere.get(), walked.track[0].time, samples_of(walked), &ends);
  write_course(nowhere.get(), walked.course);
  error_slot error = nullptr;
  write_gate_stream(nowhere.get(), walked.course, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  gps_track track;
  if (!load_walk(data, size, track)) return 0;
  gate walked;
  walked.track = std::move(track.points);
  walked.track_len = track.count;

  owned_text log;
  error_slot error = nullptr;
  survey_gate(walked, &log, &error);
  require(error == nullptr || *error != '\0');
  require(error != nullptr || log != nullptr);
  if (error != nullptr) return 0;

  survey_pond(walked, &error);
  require(error == nullptr || (*error != '\0' && !walked.course.pond));
  if (error == nullptr) require_outputs(walked);
  return 0;
}
