// The check of a run as JSON.
#pragma once

#include "document/checked_run.h"
#include "document/json_values.h"
#include "support/error_slot.h"
#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

// The verdict, the interval of each figure under the figure's name, and the reasons. Fails as text_buffer_create does.
[[nodiscard]] json check_as_json(const swoop &run, const checked_run &checked, const display_units &units,
                                 error_slot *error);

}  // namespace tarvel
