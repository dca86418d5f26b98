// The samples of a track that a copy of the run keeps.
#pragma once

#include "swoop/swoop.h"

namespace tarvel {

// From 10 s before the exit, or without one before the highest point up to the rollout, to 10 s after the stop, or to
// the end of the track when the touchdown is not at the stop.
[[nodiscard]] sample_range trimmed_range(const swoop &run);

}  // namespace tarvel
