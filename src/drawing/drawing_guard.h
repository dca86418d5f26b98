// Stands before and behind the drawing of charts, since the drawing libraries do not say what they lack.
//
// It protects against what they were seen to do under limits on memory, threads and open files: where memory or a
// thread is missing they end the process, without the machine's font settings they wait for ever or draw in other
// fonts, and a font that cannot be opened leaves the pages without words. Before the drawing it tries out whether there
// is enough; behind it, it looks for what is missing on the pages.
//
// It does not protect against memory that others take away while the charts are drawn: then the process may end, or a
// text be without letters. No sign tells that surely. errno, which the C library sets when it is refused memory, is set
// in sound drawings, too, when it finds the memory elsewhere.
#pragma once

#include <cairo.h>

#include <cstddef>

#include "support/error_slot.h"

namespace tarvel {

// Called before anything is drawn, with the bytes that the drawing takes. Fails with "failed to allocate memory for
// charts" unless there are these, the threads that read fonts, and the machine's font settings.
void guard_drawing(std::size_t bytes, error_slot *error);

// The message for what was drawn and is incomplete, null when it is complete: "failed to allocate memory for charts", or
// "failed to read font for charts".
[[nodiscard]] error_slot missing_from(cairo_t *cr);

// The same for the document that cairo has made of it. A stream that takes no more tells so itself.
[[nodiscard]] error_slot missing_from(cairo_status_t document);

}  // namespace tarvel
