// Another start of the turn: before jolts that may be noise.
#pragma once

#include <array>

#include "check/figures.h"
#include "swoop/swoop.h"

namespace tarvel {

// The sample that descends least before the start that was found, reached over samples that descend faster than the
// least so far by at most the jolt (m/s), within 5 s; the start itself when there is none.
[[nodiscard]] std::uint32_t start_before_jolts(const swoop &run, double jolt);

struct turn_figure {
  figure which;
  double value;
};
using turn_figures = std::array<turn_figure, 5>;

// The figures of a turn that starts at this sample.
[[nodiscard]] turn_figures figures_of_turn_from(const swoop &run, std::uint32_t start);

}  // namespace tarvel
