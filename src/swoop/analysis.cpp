#include "swoop/analysis.h"

#include <algorithm>
#include <array>

#include "geo/angle.h"
#include "swoop/gates.h"
#include "swoop/implicit_gate.h"
#include "swoop/kinematics.h"
#include "swoop/max_speeds.h"
#include "swoop/plane_exit.h"
#include "swoop/rollout.h"
#include "swoop/speed_carve.h"
#include "swoop/stop.h"
#include "swoop/touchdown.h"
#include "swoop/turn.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

using detector = void (*)(swoop &run, error_slot *error);

void estimate_run_touchdown(swoop &run, error_slot *error) { estimate_touchdown(run, run.time_aloft, error); }

// In this order: each needs results of those before it.
constexpr std::array<detector, 12> detectors = {
    check_gate_location, detect_plane_exit, detect_pattern_entry,  detect_top_of_turn,
    detect_stop,         detect_rollout,    detect_bottom_of_turn, detect_entry_gate,
    detect_speed_carve,  detect_max_speeds, sum_turn_degrees,      estimate_run_touchdown,
};

// Samples; small enough that a block stays in the processor's cache from one stage to the next. With whole tracks
// instead of blocks the stages would mostly wait for memory.
constexpr std::uint32_t block_size = 512;

// Whether a track's ECEF fields are filled. They do not depend on the frame and are derived only once.
enum class ecef_state { missing, derived };

void derive_samples(swoop &run, ecef_state ecef) {
  for (std::uint32_t first = 0; first < run.track_len; first += block_size) {
    const std::uint32_t count = std::min(block_size, run.track_len - first);
    const std::span<gps_point> samples(run.track.get() + first, count);
    if (ecef == ecef_state::missing) derive_ecef(samples);
    derive_local(samples, run.matrix);
    derive_acceleration(run, {first, first + count});
    derive_dive_angle(run, {first, first + count});
    derive_heading(run, {first, first + count});
  }
  derive_turn_angle(run);
  derive_turn_rate(run);
  run.is_derived = true;
}

void run_pipeline(swoop &run, ecef_state ecef, error_slot *error) {
  *error = nullptr;
  derive_samples(run, ecef);
  for (const detector detect : detectors) {
    detect(run, error);
    if (*error) return;
  }
}

// The result of choosing the frame: another one, the same as in the last analysis, or none.
enum class frame_state { changed, unchanged, failed };

frame_state choose_turning_frame(swoop &run, const mat4 &frame, double theta) {
  if (run.rotate_theta == theta && run.rotate_matrix_in == frame && run.rotate_matrix_out == run.matrix) {
    return frame_state::unchanged;
  }
  run.rotate_theta = theta;
  run.rotate_matrix_in = frame;
  run.matrix = frame;
  return frame_state::changed;
}

frame_state choose_fixed_frame(swoop &run, const mat4 &frame) {
  if (run.matrix == frame) return frame_state::unchanged;
  run.matrix = frame;
  return frame_state::changed;
}

frame_state choose_implicit_frame(swoop &run, error_slot *error) {
  if (run.gate_type == gate_type_implicit) return frame_state::unchanged;
  build_implicit_frame(run, error);
  return *error == nullptr ? frame_state::changed : frame_state::failed;
}

frame_state choose_frame(swoop &run, std::int32_t gate_type, const mat4 &frame, double theta, error_slot *error) {
  switch (gate_type) {
    case gate_type_course: return choose_turning_frame(run, frame, theta);
    case gate_type_fixed_course: return choose_fixed_frame(run, frame);
    case gate_type_implicit: return choose_implicit_frame(run, error);
    default: *error = "invalid gate type"; return frame_state::failed;
  }
}

}  // namespace

double correction_angle(const swoop &run) {
  double angle = 0.0;
  if (run.reversal_detected) angle = pi;
  if (run.carve_detected) angle += run.rotate_theta;
  return angle;
}

void run_swoop_pipeline(swoop &run, error_slot *error) { run_pipeline(run, ecef_state::missing, error); }

void analyze_swoop(swoop &run, std::int32_t gate_type, const mat4 &frame, double theta, error_slot *error) {
  *error = nullptr;
  if (run.track_len == 0) {
    *error = "no points found in track";
    return;
  }
  if (choose_frame(run, gate_type, frame, theta, error) != frame_state::changed) return;

  run.gate_type = gate_type;
  run.reversal_detected = false;
  run.carve_detected = false;
  run_swoop_pipeline(run, error);
  if (*error) return;

  const double angle = correction_angle(run);
  if (gate_type != gate_type_course || angle == 0.0) return;
  mat4_rotate_z(run.matrix, angle);
  run.rotate_matrix_out = run.matrix;
  run_pipeline(run, ecef_state::derived, error);
}

}  // namespace tarvel
