// Random numbers that are the same in every build: the standard specifies the digits of its engines, but not those of
// its distributions.
#pragma once

#include <cstdint>
#include <random>

namespace tarvel {

// The value below which a standard normal variate lies with this probability, which is between 0 and 1; relative error
// about 1e-15.
[[nodiscard]] double normal_quantile(double probability);

class random_source {
 public:
  explicit random_source(std::uint64_t seed) : engine_(seed) {}

  // Strictly between 0 and 1.
  [[nodiscard]] double uniform();
  // A standard normal variate, from one number of the engine.
  [[nodiscard]] double normal();
  // The sum of that many squared normal variates.
  [[nodiscard]] double chi_square(int degrees_of_freedom);

 private:
  std::mt19937_64 engine_;
};

}  // namespace tarvel
