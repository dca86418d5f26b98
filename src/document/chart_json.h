// The charts of a run as JSON.
#pragma once

#include "chart/run_charts.h"
#include "document/document_text.h"
#include "support/error_slot.h"

namespace tarvel {

// Appends the eight charts under their names, in the units of the context, from the builders that the PDF uses. Fails
// with "failed to allocate memory for charts".
void append_charts(document_text &text, const chart_context &context, error_slot *error);

}  // namespace tarvel
