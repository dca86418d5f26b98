// How a stage reports failure: a pointer to constant text, null for success.
#pragma once

namespace tarvel {

// The last parameter of every stage that can fail points to one of these. A stage that fails stores a
// lower-case phrase without a final full stop and returns at once; its caller passes the words on.
using error_slot = const char *;

// Formats a message into a static buffer and returns the buffer. The next call overwrites the message. A message of
// more than 255 bytes is cut after the last complete UTF-8 character within them; when the bytes are not UTF-8, at
// least 252 of them are kept.
[[gnu::format(printf, 1, 2)]] const char *format_error(const char *format, ...);

}  // namespace tarvel
