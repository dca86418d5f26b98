// A whole survey from the bytes of a walk to the course, its pond, its map and its container.
#include <utility>

#include "formats/kml.h"
#include "fuzz_input.h"
#include "gate/pond.h"
#include "gate/survey.h"
#include "geo/course_frame.h"
#include "loader/track_loader.h"

namespace {

using namespace tarvel;

// A finished course has no walk.
bool load_walk(const std::uint8_t *data, std::size_t size, gps_track &track) {
  const file_handle stream = open_fuzz_input(data, size);
  gate_file_data loaded;
  warning_buffer warnings;
  error_slot error = nullptr;
  const outcome result = load_gate_stream(stream.get(), loaded, warnings.buffer, &error);
  require_all_or_nothing(result, error, loaded.pond != nullptr || loaded.track.count > 0);
  require(loaded.pond == nullptr || loaded.track.points == nullptr);
  track = std::move(loaded.track);
  return track.count > 0;
}

void require_course(gate &course) {
  const std::span<const vec3> pond = pond_points(course.pond.get());
  // Four legs may each go over the same samples.
  require(pond.size() <= 4 * std::size_t{course.track_len} + 1);
  const gate_ends ends = entry_gate_ends(course.matrix);
  error_slot error = nullptr;
  write_kml("/dev/null", course.track[0].time, samples_of(course), &ends, &error);
  require(error == nullptr);
  gate_file_data data;
  data.matrix = course.matrix;
  data.theta = course.theta;
  data.pond = std::move(course.pond);
  const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_gate_stream(nowhere.get(), data, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  gps_track track;
  if (!load_walk(data, size, track)) return 0;
  gate course;
  course.track = std::move(track.points);
  course.track_len = track.count;

  owned_text log;
  error_slot error = nullptr;
  survey_gate(course, &log, &error);
  require(error == nullptr || *error != '\0');
  require(error != nullptr || log != nullptr);
  if (error != nullptr) return 0;

  survey_pond(course, &error);
  require(error == nullptr || (*error != '\0' && course.pond == nullptr));
  if (error == nullptr) require_course(course);
  return 0;
}
