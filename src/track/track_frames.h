// Positions and speeds of every sample in ECEF and in a course frame.
#pragma once

#include <span>

#include "geo/mat4.h"
#include "track/gps_point.h"

namespace tarvel {

// Fills pos_ecef and vel_ecef of every sample from its measured position and velocity.
void derive_ecef(std::span<gps_point> samples);

// Fills pos_local and vel_local of every sample from its ECEF fields.
void derive_local(std::span<gps_point> samples, const mat4 &frame);

// Speeds from vel_local, m/s: of the horizontal components, and of all three.
[[nodiscard]] double horizontal_speed(const gps_point &sample);
[[nodiscard]] double total_speed(const gps_point &sample);

}  // namespace tarvel
