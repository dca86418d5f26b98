// The names of the files that a mode writes.
#pragma once

#include "support/memory.h"

namespace tarvel {

// The file name with its last three characters replaced by the extension's three; null for null. Ends the program with
// status 1 and "ERROR: new extension must be 3 characters" or "ERROR: filename does not have 3 character extension".
[[nodiscard]] owned_text change_extension(const char *filename, const char *extension);

}  // namespace tarvel
