#include "track/track_frames.h"

#include <cmath>

#include "geo/wgs84.h"

namespace tarvel {

void derive_ecef(std::span<gps_point> samples) {
  for (gps_point &sample : samples) {
    const geodetic_trig trig = geodetic_trig_of(sample.pos_wgs84);
    sample.pos_ecef = wgs84_to_ecef(trig, sample.pos_wgs84.z);
    sample.vel_ecef = ned_to_ecef_velocity(trig, sample.vel_ltp);
  }
}

void derive_local(std::span<gps_point> samples, const mat4 &frame) {
  for (gps_point &sample : samples) {
    sample.pos_local = mat4_transform_point(frame, sample.pos_ecef);
    sample.vel_local = mat4_transform_vector(frame, sample.vel_ecef);
  }
}

double horizontal_speed(const gps_point &sample) {
  const vec3 &v = sample.vel_local;
  return std::sqrt(v.x * v.x + v.y * v.y);
}

double total_speed(const gps_point &sample) { return vec3_length(sample.vel_local); }

}  // namespace tarvel
