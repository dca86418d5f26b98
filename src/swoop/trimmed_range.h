// Which samples of a track are worth keeping of a run.
#pragma once

#include "swoop/swoop.h"

namespace tarvel {

// The run with ten seconds to either side: from the exit (without one, from before the highest point on the way to the
// rollout) to the stop, or to the end when the touchdown is not at the stop.
[[nodiscard]] sample_range trimmed_range(const swoop &run);

}  // namespace tarvel
