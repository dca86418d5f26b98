// Course walks made step by step: a walker with a logger stands, walks and jumps on a plane.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gate/gate.h"
#include "geo/vec3.h"
#include "track/gps_point.h"

namespace tarvel {

// The position of the plane's origin, and the direction of its x-axis, clockwise from north. Degrees and metres.
struct walk_place {
  double latitude = 48.5;
  double longitude = 11.25;
  double height = 420.0;
  double bearing = 200.0;
};

// Metres on the plane (x along the course, y to its left, z up), m/s and milliseconds.
struct hand_made_walk {
  walk_place place;
  double rate = 5.0;  // samples per second
  double speed = 1.5;
  vec3 at;                // where the next sample is taken
  std::int64_t time = 0;  // when the next sample is taken
  float hacc = 0.5F;
  float vacc = 0.8F;
  std::vector<gps_point> samples;
};

// The next sample. Its pos_wgs84 is the position on the ground and its pos_ecef the position on the plane: tests of
// distances need no more, and a survey derives its own ECEF.
void add_sample(hand_made_walk &walk);
// Samples at the same position, from now until this number of seconds later, both included.
void stand(hand_made_walk &walk, double seconds);
// The samples on the way to the target at the walker's speed, without the one at the target: the next sample is taken
// there.
void walk_to(hand_made_walk &walk, const vec3 &target);
// Moves to the target without samples on the way.
void jump_to(hand_made_walk &walk, const vec3 &target);

// The marks of a walk in their order. The defaults make a course 90 m long with a gate of 10 m, walked
// counter-clockwise.
struct walk_marks {
  vec3 start = {70.0, 12.0, 0.0};
  vec3 b = {0.0, 5.0, 0.0};
  vec3 c = {-20.0, 0.0, 0.0};
  vec3 d = {0.0, -5.0, 0.0};
  vec3 a = {70.0, 0.0, 0.0};
  std::vector<vec3> exit_mark = {};  // one, or none
};

// Walks from mark to mark and stands this number of seconds at each.
void walk_course(hand_made_walk &walk, const walk_marks &marks, double seconds);
[[nodiscard]] hand_made_walk course_walk(const walk_marks &marks = walk_marks());
// The same marks with as few samples as a survey needs: one every 2.5 s while standing, two on each way.
[[nodiscard]] hand_made_walk sparse_walk(const walk_marks &marks = walk_marks(),
                                         const walk_place &place = walk_place());

// A position on the plane as latitude, longitude (deg) and height (m). Distances grow by one part in 10,000 or less.
[[nodiscard]] vec3 wgs84_of(const walk_place &place, const vec3 &position);

// A record with a copy of the samples and nothing surveyed.
[[nodiscard]] gate gate_of(const std::vector<gps_point> &samples);

// The walk as a logger writes it in the header-line form, from 10:00 on the sixteenth of May 2026 on.
[[nodiscard]] std::string walk_text(const std::vector<gps_point> &samples);

}  // namespace tarvel
