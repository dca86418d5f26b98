// Simulated tracks as samples, joined as by a logger that was switched off and on, or was always on.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "loader/track_loader.h"
#include "support/files.h"
#include "support/simulator.h"

namespace tarvel {

using recording = std::vector<gps_point>;

[[nodiscard]] inline recording samples_in(const std::string &text) {
  const file_handle stream = open_bytes(text);
  error_slot error = nullptr;
  text_buffer warnings = text_buffer_create(&error);
  gps_track track;
  if (load_swoop_stream(stream.get(), track, warnings, &error) != outcome::done) throw std::runtime_error(error);
  return {track.points.get(), track.points.get() + track.count};
}

[[nodiscard]] inline recording recording_of(const simulated_run &run) { return samples_in(simulated_track(run)); }

[[nodiscard]] inline recording starting_at(recording track, std::int64_t time) {
  const std::int64_t shift = time - track.front().time;
  for (gps_point &sample : track) sample.time += shift;
  return track;
}

// Standing at the position of the sample: one sample a second, the first a second after it.
[[nodiscard]] inline recording standing_behind(gps_point sample, int seconds) {
  sample.vel_ltp = {};
  recording track;
  for (int i = 0; i < seconds; ++i) {
    sample.time += 1000;
    track.push_back(sample);
  }
  return track;
}

// From one place to another at a constant speed: one sample a second, the first a second after `from`.
[[nodiscard]] inline recording moving_behind(const gps_point &from, const vec3 &target, const vec3 &speed,
                                             int seconds) {
  recording track;
  for (int i = 1; i <= seconds; ++i) {
    const double part = static_cast<double>(i) / seconds;
    const vec3 &start = from.pos_wgs84;
    gps_point sample = from;
    sample.time += i * 1000;
    sample.vel_ltp = speed;
    sample.pos_wgs84 = {start.x + part * (target.x - start.x), start.y + part * (target.y - start.y),
                        start.z + part * (target.z - start.z)};
    track.push_back(sample);
  }
  return track;
}

[[nodiscard]] inline recording operator+(recording first, const recording &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace tarvel
