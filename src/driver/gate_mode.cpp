#include "driver/exit.h"
#include "driver/modes.h"

namespace tarvel {

void run_gate_mode(const run_config &) { fatal_error("gate surveys are not part of this version"); }

}  // namespace tarvel
