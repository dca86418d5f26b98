// The samples of a track that a copy of the run keeps.
#pragma once

#include "swoop/swoop.h"

namespace tarvel {

// The samples from 10 s before the exit to 10 s after the stop. For a run without an exit they begin 10 s before the
// highest point up to the rollout; when the touchdown is not at the stop, they end with the track.
[[nodiscard]] sample_range trimmed_range(const swoop &run);

}  // namespace tarvel
