// A whole survey from the bytes of a walk to the course, its pond, its map and its container.
#include <utility>

#include "container/tvl_file.h"
#include "formats/kml.h"
#include "fuzz_input.h"
#include "gate/pond.h"
#include "gate/survey.h"
#include "geo/course_frame.h"
#include "track/delimited_reader.h"

namespace {

using namespace tarvel;

void load_walk(const std::uint8_t *data, std::size_t size, gps_track &track, error_slot *error) {
  read_track_tagged_stream(open_fuzz_input(data, size).get(), track, error);
  if (*error == nullptr) return;
  *error = nullptr;
  read_track_header_csv_stream(open_fuzz_input(data, size).get(), track, error);
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
  write_gate_file("/dev/null", data, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  gps_track track;
  error_slot error = nullptr;
  load_walk(data, size, track, &error);
  if (error != nullptr) return 0;
  gate course;
  course.track = std::move(track.points);
  course.track_len = track.count;

  owned_text log;
  survey_gate(course, &log, &error);
  require(error == nullptr || *error != '\0');
  require(error != nullptr || log != nullptr);
  if (error != nullptr) return 0;

  survey_pond(course, &error);
  require(error == nullptr || (*error != '\0' && course.pond == nullptr));
  if (error == nullptr) require_course(course);
  return 0;
}
