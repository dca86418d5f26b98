// How a stage reports failure: a pointer to constant text, null for success.
#pragma once

namespace tarvel {

// The last parameter of every stage that can fail points to one of these. A stage that fails stores a
// lower-case phrase without a final full stop and returns at once; its caller passes the words on.
using error_slot = const char *;

// Formats a message into the one text area that all messages share and returns it. A message of more than 255 bytes is
// cut after the last UTF-8 character that ends within them; of bytes that are no UTF-8, 252 at least are kept. A later
// message overwrites an earlier one, so a program keeps one message alive at a time.
[[gnu::format(printf, 1, 2)]] const char *format_error(const char *format, ...);

}  // namespace tarvel
