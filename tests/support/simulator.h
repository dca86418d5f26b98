// Simulated runs of any length and rate, and the course that they are flown over. The same record gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarvel {

enum class track_form { header_lines, tagged_lines };

// Metres, m/s, seconds and degrees. A straight flight in the aircraft, the exit, the canopy ride in wide circles, the
// turn, the rollout, the swoop over the course with evenly falling speed, and standing still.
struct simulated_run {
  track_form form = track_form::header_lines;
  double rate = 10.0;       // samples per second
  bool all_columns = true;  // also those that Tarvel ignores or does not need

  // The course: the position of its entry gate, and its direction clockwise from north.
  double gate_latitude = 48.5;
  double gate_longitude = 11.25;
  double gate_height = 420.0;
  double course_bearing = 200.0;

  double plane_seconds = 12.0;  // 0 together with freefall_seconds 0: recorded from the canopy on
  double freefall_seconds = 3.0;
  double exit_height = 1500.0;  // above the gate; the canopy's sink rate follows from it and canopy_seconds
  double canopy_seconds = 200.0;
  double straight_seconds = 0.0;  // of them, after the last circle
  double turn_degrees = 270.0;    // positive to the right
  double turn_seconds = 6.0;
  double dive_speed = 34.0;  // greatest descent rate
  double rollout_seconds = 3.0;
  double swoop_speed = 33.0;   // horizontal, at the end of the rollout
  double swoop_height = 1.0;   // above the gate
  double gate_delay = 0.5;     // from the end of the rollout to the entry gate
  double gate_offset = 0.0;    // where the gate is crossed, positive to the left of the course
  double swoop_seconds = 8.0;  // from the end of the rollout to the stop
  double carve_rate = 0.0;     // degrees per metre along the swoop behind the gate, positive to the left
  double standing_seconds = 5.0;
  double speed_noise = 0.05;  // greatest error of each measured speed
  bool reversed = false;      // against the course
};

// The results that an analysis of the run should find, from the formulas of the flight.
struct simulated_truth {
  double gate_seconds = 0.0;   // from the first sample to the entry gate
  double gate_speed = 0.0;     // m/s
  double stop_distance = 0.0;  // m from the entry gate along the track flown
  double duration = 0.0;       // seconds, of the whole track
};
[[nodiscard]] simulated_truth truth_of(const simulated_run &run);

// The track as a logger writes it, starting at 10:00 on the sixteenth of May 2026.
[[nodiscard]] std::string simulated_track(const simulated_run &run);

// The position at each sample, without errors. Course metres: x along the course, y to its left, z above the gate; v is
// the velocity along each.
struct course_sample {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double vx = 0.0;
  double vy = 0.0;
  double vz = 0.0;
};
[[nodiscard]] std::vector<course_sample> flown_samples(const simulated_run &run);

// The row that a logger without errors would write, with all digits.
struct exact_row {
  double latitude, longitude, height;
  double north, east, down;  // m/s
};
[[nodiscard]] exact_row exact_row_of(const simulated_run &run, const course_sample &at);

// The course file of the run's course, without theta and pond.
[[nodiscard]] std::string simulated_course(const simulated_run &run);

// The same run with this number of samples: the canopy ride is made longer. At least 1,000 for the values above.
[[nodiscard]] simulated_run stretched_to(simulated_run run, std::size_t samples);

// A run of a few kB that can be analysed completely: from the pattern on, one sample a second, with the required
// columns.
[[nodiscard]] simulated_run small_run();

}  // namespace tarvel
