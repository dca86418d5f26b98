// Checks before and after charts are drawn, since the drawing libraries do not report a lack of resources.
//
// When memory or a thread is refused, these libraries end the process. When the font configuration cannot be loaded,
// they hang or use other fonts. When a font file cannot be opened, they draw no text. The check before drawing tests
// that the resources are available; the checks after it detect incomplete pages.
//
// The checks do not cover memory that runs out while the charts are drawn: the process may then end, or letters of a
// text may be missing. errno does not show it reliably: the C library also sets it when one way to allocate fails and
// another then succeeds.
#pragma once

#include <cairo.h>

#include <cstddef>

#include "support/error_slot.h"

namespace tarvel {

// Call it before anything is drawn. Fails with "failed to allocate memory for charts" unless this number of bytes can
// be allocated, the threads that read fonts can be started, and the font configuration can be loaded.
void guard_drawing(std::size_t bytes, error_slot *error);

// The message for incomplete pages, null when they are complete: "failed to allocate memory for charts" or "failed to
// read font for charts".
[[nodiscard]] error_slot drawing_error(cairo_t *cr);

// The same for the status of the finished document. Write errors are not reported here but by close_output.
[[nodiscard]] error_slot drawing_error(cairo_status_t document);

}  // namespace tarvel
