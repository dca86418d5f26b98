// Checks before and after charts are drawn, since the drawing libraries do not report what they lack.
//
// Under limits on memory, threads and open files these libraries end the process when memory or a thread is refused,
// wait for ever or draw in other fonts when the machine's font settings cannot be loaded, and draw no text when a font
// cannot be opened. The check before the drawing tries whether there is enough of each; the checks after it look for
// what is missing on the pages.
//
// They do not cover memory that runs out while the charts are drawn: the process may then end, or a text lack letters.
// There is no reliable sign of that: the C library sets errno when it is refused memory, and in complete drawings, too,
// when it then finds the memory elsewhere.
#pragma once

#include <cairo.h>

#include <cstddef>

#include "support/error_slot.h"

namespace tarvel {

// Called before anything is drawn. Fails with "failed to allocate memory for charts" unless so many bytes can be
// allocated, the threads that read fonts can be started, and the machine's font settings can be loaded.
void guard_drawing(std::size_t bytes, error_slot *error);

// The message for incomplete pages, null when they are complete: "failed to allocate memory for charts" or "failed to
// read font for charts".
[[nodiscard]] error_slot missing_from(cairo_t *cr);

// The same for the status of the finished document. Write errors are left to close_output.
[[nodiscard]] error_slot missing_from(cairo_status_t document);

}  // namespace tarvel
