// Simulated tracks for the benchmarks, each made once.
#pragma once

#include <cstddef>
#include <string>

#include "support/simulator.h"

namespace tarvel {

// The track's text, of so many samples.
[[nodiscard]] const std::string &track_text(track_form form, std::size_t samples);

// Makes a new folder with track.csv of so many samples and its matrix.txt the working directory, until the end of the
// scope.
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
