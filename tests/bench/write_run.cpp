// Writes a simulated run of SAMPLES samples, RATE a second, to track.csv and matrix.txt in the working directory.
//
//   write_run SAMPLES RATE
//
// With 1,000,000 samples at 10 a second nearly all are before the turn and are not drawn; with 20,000 at 1,000 a second
// the charts draw three quarters of them.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/simulator.h"

namespace {

using namespace tarvel;

void write(const char *name, const std::string &text) {
  std::FILE *const file = std::fopen(name, "wb");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0) {
    std::perror(name);
    std::exit(EXIT_FAILURE);
  }
}

simulated_run run_of(std::size_t samples, double rate) {
  simulated_run run;
  run.rate = rate;
  if (rate > 100.0) {
    run.plane_seconds = run.freefall_seconds = 0.0;
    run.exit_height = 800.0;
    run.standing_seconds = 1.0;
  }
  return stretched_to(run, samples);
}

}  // namespace

int main(int argc, char *argv[]) {
  if (argc != 3) {
    std::fputs("usage: write_run SAMPLES RATE\n", stderr);
    return 2;
  }
  const simulated_run run = run_of(std::strtoul(argv[1], nullptr, 10), std::strtod(argv[2], nullptr));
  write("track.csv", simulated_track(run));
  write("matrix.txt", simulated_course(run));
  return 0;
}
