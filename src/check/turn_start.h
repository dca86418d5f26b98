// An earlier start of the turn, before jolts that may be noise.
#pragma once

#include <array>

#include "check/figures.h"
#include "swoop/swoop.h"

namespace tarvel {

// Searches back from the start that was found, for at most 5 s, while the descent is at most the jolt (m/s) faster than
// the slowest so far. Returns the sample of slowest descent; the start itself when no earlier sample descends more
// slowly.
[[nodiscard]] std::uint32_t start_before_jolts(const swoop &run, double jolt);

struct turn_figure {
  figure which;
  double value;
};
using turn_figures = std::array<turn_figure, 5>;

// The figures of a turn that starts at this sample.
[[nodiscard]] turn_figures figures_of_turn_from(const swoop &run, std::uint32_t start);

}  // namespace tarvel
