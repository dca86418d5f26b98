// A whole run from its bytes to its report, map and charts. The first byte holds the options: two bits of gate type, one
// for metres, one for a time aloft, one for a course of its own. Such a course comes before the track: theta in radians,
// the twelve numbers of its frame, the number of its pond's points in a byte, and their x and y.
#include <algorithm>
#include <cstring>
#include <utility>

#include "drawing/drawing_guard.h"
#include "drawing/pages.h"
#include "formats/kml.h"
#include "fuzz_input.h"
#include "geo/course_frame.h"
#include "loader/track_loader.h"
#include "swoop/analysis.h"
#include "swoop/report.h"

namespace {

using namespace tarvel;

// The course of the seeds.
const mat4 course_frame = {{{0.756989892, -0.198146063, -0.622659170, -19949.301},
                            {0.067911004, 0.971610626, -0.226629404, -7260.952},
                            {0.649887990, 0.129270759, 0.748955721, -6366570.434},
                            {0.000000000, 0.000000000, 0.000000000, 1.000}}};
constexpr double course_theta = -0.0872;  // radians

// What is left to read; zeros behind its end.
struct input {
  const std::uint8_t *data = nullptr;
  std::size_t size = 0;

  template <typename T>
  T take() {
    T value = {};
    const std::size_t length = std::min(size, sizeof value);
    std::memcpy(&value, data, length);
    data += length;
    size -= length;
    return value;
  }
};

course flown_course(input *rest) {
  course flown;
  flown.matrix = course_frame;
  flown.theta = course_theta;
  if (rest == nullptr) return flown;
  flown.theta = rest->take<double>();
  for (std::size_t row = 0; row < 3; ++row) {
    for (double &number : flown.matrix.m[row]) number = rest->take<double>();
  }
  const std::size_t points = rest->take<std::uint8_t>();
  if (points > 0) flown.pond.emplace();
  for (std::size_t i = 0; i < points; ++i) {
    const auto x = rest->take<double>();
    require(append_pond_point(*flown.pond, {x, rest->take<double>(), 0.0}));
  }
  return flown;
}

bool load(const input &rest, gps_track &track) {
  const file_handle stream = open_fuzz_input(rest.data, rest.size);
  warning_buffer warnings;
  error_slot error = nullptr;
  const outcome result = load_swoop_stream(stream.get(), track, warnings.buffer, &error);
  require_answer(result, error);
  require(error == nullptr || track.points == nullptr);
  return error == nullptr;
}

void require_outputs(const swoop &run, const pond_outline *pond, bool metric) {
  require(run.top_of_turn <= run.stop && run.stop < run.track_len);
  error_slot error = nullptr;
  require(format_swoop_report(run, metric, &error) != nullptr && error == nullptr);
  const gate_ends ends = entry_gate_ends(run.matrix);
  const std::span<const gps_point> samples = samples_of(run).subspan(run.top_of_turn, run.stop - run.top_of_turn);
  static const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_kml(nowhere.get(), run.track[run.top_of_turn].time, samples, &ends);
  const chart_context charts = {run, pond, metric};
  guard_drawing(drawing_room(charts), &error);
  require(error == nullptr);
  write_pdf_charts(nowhere.get(), charts, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  input rest = {data, size};
  const auto options = rest.take<std::uint8_t>();
  course flown = flown_course((options & 16) != 0 ? &rest : nullptr);
  gps_track track;
  if (rest.size == 0 || !load(rest, track)) return 0;
  swoop run;
  run.track = std::move(track.points);
  run.track_len = track.count;
  run.time_aloft = (options & 8) != 0 ? 5000 : 0;

  error_slot error = nullptr;
  analyze_swoop(run, options & 3, flown.matrix, flown.theta, &error);
  if (error != nullptr) return 0;
  if (flown.pond) rotate_point_list(points_of(*flown.pond), correction_angle(run));
  require_outputs(run, flown.pond ? &*flown.pond : nullptr, (options & 4) != 0);
  return 0;
}
