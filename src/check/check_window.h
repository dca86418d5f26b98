// The samples of a track that the figures of its run depend on. The time of a draw is proportional to its samples, and
// in a track of a day the figures depend on half a minute.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"
#include "swoop/swoop.h"

namespace tarvel {

// A record with the samples that are kept, analysed like the run that they come from. [first, end) are the ones from
// before the turn to behind the stop, without any left out between; noise_end is one past the stop.
struct check_window {
  swoop run;
  sample_range closely;
  std::uint32_t noise_end = 0;
  bool is_enough = false;  // otherwise only the number of the samples is known, which is too large
};

// From an analysed run: 15 s before the turn to 3 s behind the stop, 20 s when the frame is made from the landing, and
// what the detectors look at elsewhere. When their figures are not those of the run to the last bit, twice as much to
// either side, and so on up to four minutes before the turn; then the whole track. Windows of more than most samples
// are too large. Fails with "failed to allocate memory for swoop".
void choose_window(const swoop &run, std::uint32_t most, check_window &window, error_slot *error);

// A new record over the samples of another, which stay as they are but for their derived fields, analysed in the frame
// that run was given. Fails like the analysis.
void analyze_like(const swoop &run, swoop &samples, error_slot *error);

}  // namespace tarvel
