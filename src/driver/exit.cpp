#include "driver/exit.h"

#include <cstdio>
#include <cstdlib>

namespace tarvel {

void exit_program(int status, const char *prefix) {
  const bool had_error = std::ferror(stdout) != 0;
  const bool is_closed = std::fclose(stdout) == 0;
  if (had_error || !is_closed) {
    std::fprintf(stderr, "%s: %s\n", prefix, "failed to write file: standard output");
    status = EXIT_FAILURE;
  }
  std::exit(status);
}

void fatal_error(error_slot message) {
  if (message == nullptr) return;
  std::printf("ERROR: %s\n", message);
  exit_program(EXIT_FAILURE);
}

void fail_program(const char *program, error_slot message) {
  if (message == nullptr) return;
  std::fprintf(stderr, "%s: %s\n", program, message);
  exit_program(EXIT_FAILURE, program);
}

}  // namespace tarvel
