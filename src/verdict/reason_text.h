// The sentence that explains a reason to doubt a run to its pilot and its scorer.
#pragma once

#include "check/reasons.h"
#include "support/text_buffer.h"
#include "support/units.h"

namespace tarvel {

// Appends the measured figure in its unit, what it means and what to do.
void append_reason_sentence(text_buffer &text, const reason &each, const display_units &units);

// The measured figure in m, m/s or s; unit is null for a count and for a part of 1.
struct reason_value {
  double value = 0.0;
  const char *unit = nullptr;
};
[[nodiscard]] reason_value value_of(const reason &each);

}  // namespace tarvel
