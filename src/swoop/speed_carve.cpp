#include "swoop/speed_carve.h"

#include <optional>

#include "geo/angle.h"
#include "geo/course_frame.h"
#include "geo/plane.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double scored_distance = 12.0;  // m from the gate's centre
constexpr double carve_distance = 20.0;   // m; a crossing farther from the gate's centre is not a carve
constexpr double finish_distance = 10.0;  // m; a run that ends this near the gate's centre is a carve, too
constexpr double widest_entry = 10.0;     // m from the entry gate's centre, on the side of the carve

// The side of a carve, and the last sample before its exit gate; 0 when the run ended before the gate.
struct carve {
  std::uint8_t direction = carve_towards_minus_y;
  std::uint32_t before_exit = 0;
};

vec3 mirrored(const vec3 &point) { return {point.x, -point.y, point.z}; }

carve_gate mirrored(const carve_gate &gate) {
  return {mirrored(gate.inner), mirrored(gate.centre), mirrored(gate.outer)};
}

// The y at x of the line through a gate's inner and outer ends.
double gate_line_y(const carve_gate &gate, double x) {
  const double a = gate.outer.y - gate.inner.y;
  const double b = gate.inner.x - gate.outer.x;
  const double c = gate.inner.y * b + gate.inner.x * a;
  return -a / b * x + c / b;
}

// Finds the first crossing of the line of either exit gate; without one, the gate near which the run ended.
std::optional<carve> find_carve(const swoop &run, const mat4 &frame, const carve_gate &plus_gate,
                                const carve_gate &minus_gate) {
  const std::span<const gps_point> samples = samples_of(run);
  for (std::uint32_t i = run.entry_gate + 1; i <= run.stop; ++i) {
    const vec3 p = mat4_transform_point(frame, samples[i].pos_ecef);
    const double line_y = gate_line_y(plus_gate, p.x);
    if (line_y <= 0.0) break;
    if (p.y > line_y) return carve{carve_towards_plus_y, i - 1};
    if (p.y < -line_y) return carve{carve_towards_minus_y, i - 1};
  }
  const vec3 end = mat4_transform_point(frame, samples[run.stop].pos_ecef);
  if (distance_2d(end, plus_gate.centre) <= finish_distance) return carve{carve_towards_plus_y, 0};
  if (distance_2d(end, minus_gate.centre) <= finish_distance) return carve{carve_towards_minus_y, 0};
  return std::nullopt;
}

// Only the side that the carve turns to has a limit.
bool enters_too_wide(const swoop &run, const carve &found) {
  return found.direction == carve_towards_plus_y ? run.entry_gate_ypos > widest_entry
                                                 : run.entry_gate_ypos < -widest_entry;
}

// Fills the exit gate's results when the crossing is near enough to be scored. False when it is too far for a carve.
bool score_exit(swoop &run, const mat4 &frame, const carve_gate &gate, std::uint32_t before) {
  const gps_point &sample_a = run.track[before];
  const gps_point &sample_b = run.track[before + 1];
  const vec3 a = mat4_transform_point(frame, sample_a.pos_ecef);
  const vec3 b = mat4_transform_point(frame, sample_b.pos_ecef);
  const vec2 crossing =
      line_intersection({a.x, a.y, b.x, b.y}, {gate.inner.x, gate.inner.y, gate.outer.x, gate.outer.y});
  const double distance = vec2_distance(vec3_xy(gate.centre), crossing);
  if (distance > carve_distance) return false;
  if (distance <= scored_distance) {
    run.exit_gate = before;
    run.exit_gate_xpos = crossing.x;
    run.exit_gate_time = crossing_time(sample_a, sample_b, a.y, b.y, crossing.y);
    run.exit_gate_speed = interpolate(horizontal_speed(sample_a), horizontal_speed(sample_b), a.y, b.y, crossing.y);
  }
  return true;
}

// The frame of the carve. On the second pass of the analysis run.matrix has been rotated already.
mat4 carve_frame(const swoop &run) {
  mat4 frame = run.matrix;
  if (!run.carve_detected) mat4_rotate_z(frame, run.reversal_detected ? run.rotate_theta + pi : run.rotate_theta);
  return frame;
}

}  // namespace

void detect_speed_carve(swoop &run, error_slot *) {
  run.exit_gate_speed = 0.0;
  run.exit_gate_xpos = 0.0;
  run.exit_gate_time = 0;
  run.exit_gate = 0;
  if (run.gate_type != gate_type_course || run.entry_gate == 0) return;

  const mat4 frame = carve_frame(run);
  const carve_gate plus_gate = carve_gate_points(carve_angle_degrees, carve_radius, carve_gate_width);
  const carve_gate minus_gate = mirrored(plus_gate);
  const std::optional<carve> found = find_carve(run, frame, plus_gate, minus_gate);
  if (!found || enters_too_wide(run, *found)) return;

  const carve_gate &gate = found->direction == carve_towards_plus_y ? plus_gate : minus_gate;
  if (found->before_exit != 0 && !score_exit(run, frame, gate, found->before_exit)) return;
  run.carve_detected = true;
  run.carve_direction = found->direction;
}

}  // namespace tarvel
