// Builds a frame from the run itself, for runs without a course: its entry gate is at the bottom of the swoop.
#pragma once

#include <cstdint>

#include "geo/vec3.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// The first sample of a landing, the last sample before it that is more than 100 ft above the ground, and the ground.
struct implicit_landing {
  std::uint32_t dive = 0;
  std::uint32_t landing = 0;
  double ground = 0.0;  // m above mean sea level
};

// Finds the landing from the raw logger values: the first slow sample after the flight from which the height stays
// within 100 ft for more than 15 s, as computed by elapsed() even where that wraps. Fails with "could not detect
// flight", "could not detect landing" or "could not find dive at 100 feet".
[[nodiscard]] implicit_landing find_implicit_landing(const swoop &run, error_slot *error);

// Finds the positions of the bottom of the swoop and of the landing, both at ground level, WGS84. Fails like
// find_implicit_landing.
void find_implicit_gate(const swoop &run, vec3 &gate_point, vec3 &landing_point, error_slot *error);

// Fills run.matrix: origin at the gate point, z up, x towards the landing. Fails like find_implicit_gate.
void build_implicit_frame(swoop &run, error_slot *error);

}  // namespace tarvel
