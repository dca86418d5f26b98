// Redirects standard output and standard error away from inputs and outputs of this call.
//
// When the shell has redirected one of them to such a file, messages of the program or of the drawing libraries would
// be written into it. Pipes, devices and files that the call neither reads nor writes are not affected.
#pragma once

#include <sys/stat.h>

namespace tarvel {

// True when standard output goes to that file.
[[nodiscard]] bool is_stdout(const struct stat &file);

// True when standard output or standard error goes to that file.
[[nodiscard]] bool is_printed_to(const struct stat &file);

// When standard error goes to that file, redirects it to /dev/null. False when that fails.
[[nodiscard]] bool silence_stderr(const struct stat &file);

// When standard output goes to that file, redirects it to standard error, or to /dev/null when that goes to the file,
// too. False when that fails; standard output is then unchanged.
[[nodiscard]] bool redirect_stdout_from(const struct stat &file);

// Does both for an input. False when that fails, and also when standard output went to the file, since the shell may
// have emptied it.
[[nodiscard]] bool redirect_streams_from(const struct stat &file);

}  // namespace tarvel
