// Makes a run from the bytes of a fuzz target. The first byte has the options: two bits of gate type, one for metric
// units, one for a time aloft, one for a course in the input. Such a course precedes the track: theta in radians, the
// twelve numbers of its frame, a byte with the number of its pond's points, and their x and y.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>

#include "fuzz_input.h"
#include "loader/track_loader.h"
#include "swoop/analysis.h"
#include "track/course.h"

namespace tarvel {

// The course over which the runs of the seeds were flown.
inline const mat4 course_frame = {{{0.756989892, -0.198146063, -0.622659170, -19949.301},
                                   {0.067911004, 0.971610626, -0.226629404, -7260.952},
                                   {0.649887990, 0.129270759, 0.748955721, -6366570.434},
                                   {0.000000000, 0.000000000, 0.000000000, 1.000}}};
constexpr double course_theta = -0.0872;  // radians

// The bytes that have not been read yet. Reading past the end gives zeros.
struct fuzz_bytes {
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

inline course flown_course(fuzz_bytes *rest) {
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

[[nodiscard]] inline bool load(const fuzz_bytes &rest, gps_track &track) {
  const file_handle stream = open_fuzz_input(rest.data, rest.size);
  warning_buffer warnings;
  error_slot error = nullptr;
  const outcome result = load_swoop_stream(stream.get(), track, warnings.buffer, &error);
  require_answer(result, error);
  require(error == nullptr || track.points == nullptr);
  return error == nullptr;
}

struct fuzz_run {
  course flown;
  swoop run;
  bool metric = false;
};

// False when the bytes hold no track, or a track whose analysis fails.
[[nodiscard]] inline bool analyse(const std::uint8_t *data, std::size_t size, fuzz_run &analysed) {
  fuzz_bytes rest = {data, size};
  const auto options = rest.take<std::uint8_t>();
  analysed.flown = flown_course((options & 16) != 0 ? &rest : nullptr);
  analysed.metric = (options & 4) != 0;
  gps_track track;
  if (rest.size == 0 || !load(rest, track)) return false;
  swoop &run = analysed.run;
  run.track = std::move(track.points);
  run.track_len = track.count;
  run.time_aloft = (options & 8) != 0 ? 5000 : 0;
  error_slot error = nullptr;
  analyze_swoop(run, options & 3, analysed.flown.matrix, analysed.flown.theta, &error);
  return error == nullptr;
}

}  // namespace tarvel
