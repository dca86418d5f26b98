#include "swoop/kinematics.h"

#include <cmath>

#include "geo/angle.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

vec3 acceleration_between(const gps_point &previous, const gps_point &sample) {
  const vec3 change = vec3_sub(previous.vel_local, sample.vel_local);
  const double dt = time_step(previous, sample);
  return {change.x * 1000.0 / dt, change.y * 1000.0 / dt, change.z * 1000.0 / dt};
}

double dive_angle_of(const gps_point &sample) {
  const double h = horizontal_speed(sample);
  const double vz = sample.vel_local.z;
  if (h != 0.0) return degrees_from_radians(std::atan(-vz / h));
  if (vz > 0.0) return -90.0;
  return vz < 0.0 ? 90.0 : 0.0;
}

double heading_of(const gps_point &sample) {
  const vec3 &v = sample.vel_local;
  return std::fmod(-degrees_from_radians(std::atan2(v.y, v.x)) + 360.0, 360.0);
}

}  // namespace

void derive_acceleration(swoop &run, sample_range range) {
  const auto [first, end] = within_track(run, range);
  for (std::uint32_t i = first; i < end; ++i) {
    run.track[i].acc_local = i == 0 ? vec3() : acceleration_between(run.track[i - 1], run.track[i]);
  }
}

void derive_dive_angle(swoop &run, sample_range range) {
  const auto [first, end] = within_track(run, range);
  for (std::uint32_t i = first; i < end; ++i) run.track[i].dive_angle = dive_angle_of(run.track[i]);
}

void derive_heading(swoop &run, sample_range range) {
  const auto [first, end] = within_track(run, range);
  for (std::uint32_t i = first; i < end; ++i) run.track[i].heading = heading_of(run.track[i]);
}

void derive_turn_rate(swoop &run) {
  if (run.track_len == 0) return;
  run.track[0].turn_rate = 0.0;
  for (std::uint32_t i = 1; i < run.track_len; ++i) {
    gps_point &sample = run.track[i];
    sample.turn_rate = sample.turn_angle * 1000.0 / time_step(run.track[i - 1], sample);
  }
}

}  // namespace tarvel
