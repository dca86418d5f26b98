// One call of the program, from the start of the process to its end: report, map and charts of a track in a file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "simulated_files.h"

namespace tarvel {
namespace {

double seconds_of(const timeval &time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// Fills processor time (s) and peak memory (bytes). False when the program failed.
bool run_once(double &seconds, double &peak) {
  const pid_t child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    execl(TARVEL_PROGRAM, "tarvel", "track.csv", static_cast<char *>(nullptr));
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  seconds = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
  peak = 1024.0 * static_cast<double>(usage.ru_maxrss);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void whole_run(benchmark::State &state) {
  const auto samples = static_cast<std::size_t>(state.range(0));
  const track_folder folder(samples);
  double total = 0.0;
  double peak = 0.0;
  for (auto round : state) {
    double seconds = 0.0;
    if (!run_once(seconds, peak)) state.SkipWithError("the program failed");
    state.SetIterationTime(seconds);
    total += seconds;
  }
  const auto rows = static_cast<double>(samples) * static_cast<double>(state.iterations());
  state.counters["per_row"] = total / rows;
  state.counters["peak_bytes"] = peak;
}

BENCHMARK(whole_run)->Arg(20'000)->Arg(1'000'000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvel
