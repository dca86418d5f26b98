// Standard output and standard error that the shell has sent into files of this call.
//
// Whatever is printed, by the program or by the libraries that draw, must not get into an input or into the middle of
// an output. Pipes and devices are left alone, and so are files that the call neither reads nor writes.
#pragma once

#include <sys/stat.h>

namespace tarvel {

// True when standard output goes to that file.
[[nodiscard]] bool is_stdout(const struct stat &file);

// True when standard output or standard error goes to that file.
[[nodiscard]] bool is_printed_to(const struct stat &file);

// When standard error goes to that file, what is printed there is discarded from now on. False when that fails.
[[nodiscard]] bool silence_stderr(const struct stat &file);

// When standard output goes to that file, what is printed there goes to standard error from now on, or is discarded
// when that goes to the file, too. False when that fails: standard output is then as it was.
[[nodiscard]] bool redirect_stdout_from(const struct stat &file);

// Keeps both out of an input. False when that fails, and also when standard output went to the file: the shell may have
// emptied it.
[[nodiscard]] bool redirect_streams_from(const struct stat &file);

}  // namespace tarvel
