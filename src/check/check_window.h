// The samples of a track that the figures of its run depend on. The time of a draw is proportional to its samples, and
// in a track of a day the figures depend on half a minute.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"
#include "swoop/swoop.h"

namespace tarvel {

// The samples that are kept, as a record that was analysed like the run that they come from. closely has those from
// before the turn to after the stop, with none left out between them; noise_end is one past the stop.
struct check_window {
  swoop run;
  sample_range closely;
  std::uint32_t noise_end = 0;
  bool is_enough = false;  // false: there are too many samples, and only their number, run.track_len, is set
};

// Chooses the samples of an analysed run: those from 15 s before the turn to 3 s after the stop (20 s when the frame is
// made from the landing), and those that the detectors examine elsewhere. When their analysis does not give the figures
// of the run to the last bit, these times are doubled, up to four minutes before the turn; then the whole track is
// taken. is_enough is false when these are more than `most` samples. Fails with "failed to allocate memory for swoop".
void choose_window(const swoop &run, std::uint32_t most, check_window &window, error_slot *error);

// Analyses the samples of a record like run: with its gate type, its course's frame and its time aloft. The measured
// fields of the samples are kept, everything else in the record is replaced. Fails like analyze_swoop.
void analyze_like(const swoop &run, swoop &samples, error_slot *error);

}  // namespace tarvel
