// Standard output that the shell has sent into one of the run's own files.
#pragma once

#include <sys/stat.h>

namespace tarvel {

// True when standard output goes to that file. A pipe or a device that both are is no file of the run's.
[[nodiscard]] bool is_stdout(const struct stat &file);

// For the file that standard output goes to: what is still said goes to standard error instead, or nowhere when that
// goes to the file, too.
void redirect_stdout(const struct stat &file);

// The same for a name. When standard output goes elsewhere, it stays so.
void redirect_stdout_from(const char *path);

}  // namespace tarvel
