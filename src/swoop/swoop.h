// The analysis record of one run: the track, the frame in force and everything found in it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"
#include "track/gps_track.h"

namespace tarvel {

// How the local frame is obtained. analyze_swoop refuses any other value.
constexpr std::int32_t gate_type_course = 0;        // rotated after a reversal or a speed carve
constexpr std::int32_t gate_type_fixed_course = 1;  // used as given
constexpr std::int32_t gate_type_implicit = 2;      // built from the run itself

// Sides of a speed carve.
constexpr std::uint8_t carve_towards_minus_y = 0;
constexpr std::uint8_t carve_towards_plus_y = 1;

// Every stage of the analysis reads and fills this one record. Phases are sample indices, and 0 means not found: no
// detector accepts sample 0. Times are ms, positions local metres, speeds m/s.
struct swoop {
  owned_text file;  // path of the track
  owned_array<gps_point> track;
  std::uint32_t track_len = 0;
  track_kind kind = track_kind::header_lines;
  bool debug = false;            // coord.txt and a copy of the trimmed track are wanted
  bool is_derived = false;       // the samples' local fields are filled
  std::uint32_t time_aloft = 0;  // between entry gate and touchdown, ms; 0 when not given
  std::int32_t gate_type = gate_type_course;
  double rotate_theta = 0.0;  // the course's speed-carve rotation, radians
  mat4 rotate_matrix_in;      // the course's frame
  mat4 rotate_matrix_out;     // the course's frame after it was rotated
  mat4 matrix;                // the frame in force, ECEF to local

  bool reversal_detected = false;  // flown against the course's x-axis
  bool carve_detected = false;
  std::uint32_t plane_exit = 0;
  std::uint32_t pattern_entry = 0;   // descent through 2,500 ft
  std::uint32_t top_of_turn = 0;     // the final turn starts
  std::uint32_t rollout = 0;         // the rollout starts
  std::uint32_t bottom_of_turn = 0;  // the rollout is finished
  std::uint32_t entry_gate = 0;      // last sample before the crossing
  std::uint32_t exit_gate = 0;       // last sample before the crossing
  std::uint32_t stop = 0;            // the motion after the swoop has ended
  std::uint32_t max_vert_speed = 0;
  std::uint32_t max_horz_speed = 0;
  std::uint32_t max_total_speed = 0;
  std::uint8_t carve_direction = carve_towards_minus_y;

  std::int64_t bottom_time = 0;
  double bottom_xpos = 0.0;
  double bottom_ypos = 0.0;
  double bottom_zpos = 0.0;
  std::int64_t entry_gate_time = 0;
  double entry_gate_speed = 0.0;
  double entry_gate_ypos = 0.0;
  std::int64_t exit_gate_time = 0;
  double exit_gate_speed = 0.0;
  double exit_gate_xpos = 0.0;
  double turn_degrees = 0.0;  // positive to the right
  std::int64_t touchdown_time = 0;
  double touchdown_speed = 0.0;
  double touchdown_distance = 0.0;  // along the course from the entry gate
};

[[nodiscard]] inline std::span<const gps_point> samples_of(const swoop &run) {
  return {run.track.get(), run.track_len};
}

// A stretch of a run's track, all of it by default. It is cut at the end of the track.
struct sample_range {
  std::uint32_t first = 0;
  std::uint32_t end = UINT32_MAX;  // one past the last
};

[[nodiscard]] inline sample_range within_track(const swoop &run, sample_range range) {
  const std::uint32_t end = std::min(range.end, run.track_len);
  return {std::min(range.first, end), end};
}

[[nodiscard]] inline std::span<const gps_point> samples_of(const swoop &run, sample_range range) {
  const auto [first, end] = within_track(run, range);
  return samples_of(run).subspan(first, end - first);
}

// Returns a new, empty record; null with "failed to allocate memory for swoop".
[[nodiscard]] owned_record<swoop> swoop_create(error_slot *error);

// Returns a new record with that name and the track in the stream. Null on failure, with "failed to allocate memory for
// swoop", "strdup() failed" or the loader's message.
[[nodiscard]] owned_record<swoop> swoop_create(std::FILE *stream, const char *name, text_buffer &warnings,
                                               error_slot *error);

// The debug print: one line per field, an empty line, then the first three samples. Prints nothing when run is null.
void swoop_dump(std::FILE *stream, const swoop *run);

}  // namespace tarvel
