// Simulated tracks for the benchmarks. Each is made once.
#pragma once

#include <cstddef>
#include <string>

#include "support/simulator.h"

namespace tarvel {

// The text of a track of that many samples.
[[nodiscard]] const std::string &track_text(track_form form, std::size_t samples);

// Makes a temporary directory with track.csv of that many samples and its matrix.txt, and makes it the working
// directory until the end of the scope.
class track_folder {
 public:
  explicit track_folder(std::size_t samples);
  ~track_folder();
  track_folder(const track_folder &) = delete;
  track_folder &operator=(const track_folder &) = delete;

 private:
  std::string previous_;
  std::string path_;
};

}  // namespace tarvel
