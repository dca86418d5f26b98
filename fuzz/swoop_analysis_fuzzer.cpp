// A whole run from its bytes to its report, map and charts. The first byte holds the options: two bits of gate type, one
// for metres, one for a time aloft.
#include <utility>

#include "container/tvl_file.h"
#include "drawing/pages.h"
#include "formats/kml.h"
#include "fuzz_input.h"
#include "geo/course_frame.h"
#include "swoop/analysis.h"
#include "swoop/report.h"
#include "track/delimited_reader.h"

namespace {

using namespace tarvel;

// The course of the seeds.
const mat4 course_frame = {{{0.756989892, -0.198146063, -0.622659170, -19949.301},
                            {0.067911004, 0.971610626, -0.226629404, -7260.952},
                            {0.649887990, 0.129270759, 0.748955721, -6366570.434},
                            {0.000000000, 0.000000000, 0.000000000, 1.000}}};
constexpr double course_theta = -0.0872;  // radians

using stream_reader = void (*)(std::FILE *stream, gps_track &track, error_slot *error);

bool load(const std::uint8_t *data, std::size_t size, gps_track &track) {
  for (const stream_reader read : {read_swoop_stream, read_track_tagged_stream, read_track_header_csv_stream}) {
    const file_handle stream = open_fuzz_input(data, size);
    error_slot error = nullptr;
    read(stream.get(), track, &error);
    if (error == nullptr) return true;
  }
  return false;
}

void require_outputs(const swoop &run, bool metric) {
  require(run.top_of_turn <= run.stop && run.stop < run.track_len);
  error_slot error = nullptr;
  require(format_swoop_report(run, metric, &error) != nullptr && error == nullptr);
  const gate_ends ends = entry_gate_ends(run.matrix);
  const std::span<const gps_point> samples = samples_of(run).subspan(run.top_of_turn, run.stop - run.top_of_turn);
  write_kml("/dev/null", run.track[run.top_of_turn].time, samples, &ends, &error);
  require(error == nullptr);
  write_swoop_pdf("/dev/null", run, nullptr, metric, false, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  gps_track track;
  if (!load(data + 1, size - 1, track)) return 0;
  swoop run;
  run.track = std::move(track.points);
  run.track_len = track.count;
  run.time_aloft = (data[0] & 8) != 0 ? 5000 : 0;

  error_slot error = nullptr;
  analyze_swoop(run, data[0] & 3, course_frame, course_theta, &error);
  if (error == nullptr) require_outputs(run, (data[0] & 4) != 0);
  return 0;
}
