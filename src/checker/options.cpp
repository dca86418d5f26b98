#include "checker/options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>

#include "checker/number_arguments.h"
#include "driver/exit.h"
#include "support/version.h"

namespace tarvel {

namespace {

constexpr char help[] =
    "usage: tarvel-check [options] run...\n"
    "\n"
    "Says how far each figure of a run can be trusted: the interval that holds it in\n"
    "95 of 100 runs, the reasons to doubt it, and a verdict. The course comes from\n"
    "matrix.txt in the working directory.\n"
    "\n"
    "options:\n"
    "  -h, --help        print this\n"
    "  -i, --implicit    find the entry gate from each run itself\n"
    "  -m, --metric      metres and km/h instead of feet and mph\n"
    "  -t, --aloft s     seconds aloft of the one run, as a judge measured them\n"
    "  --draws n         tracks to draw, 40 to 10000 (400)\n"
    "  --seed n          where the random numbers begin (1)\n"
    "  --version         print the version\n"
    "\n"
    "exit status: 0 when all runs are good, 1 for an error, 2 when a run is doubtful,\n"
    "3 when one is unusable\n";

// Options without a letter.
enum long_option { draws_option = 256, seed_option, version_option };

constexpr option long_options[] = {
    {"help", no_argument, nullptr, 'h'},
    {"implicit", no_argument, nullptr, 'i'},
    {"metric", no_argument, nullptr, 'm'},
    {"aloft", required_argument, nullptr, 't'},
    {"draws", required_argument, nullptr, draws_option},
    {"seed", required_argument, nullptr, seed_option},
    {"version", no_argument, nullptr, version_option},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void exit_with_hint() {
  std::fputs("Try 'tarvel-check --help'.\n", stderr);
  exit_program(EXIT_FAILURE, check_program);
}

[[noreturn]] void refuse(const char *message) {
  std::fprintf(stderr, "%s: %s\n", check_program, message);
  exit_with_hint();
}

void parse_switches(int argc, char *argv[], check_options &options) {
  for (int found = 0; (found = getopt_long(argc, argv, "himt:", long_options, nullptr)) != -1;) {
    error_slot error = nullptr;
    switch (found) {
      case 'h': std::fputs(help, stdout); exit_program(EXIT_SUCCESS, check_program);
      case 'i': options.implicit_gate = true; break;
      case 'm': options.metric = true; break;
      case 't': parse_time_aloft(optarg, options.time_aloft, &error); break;
      case draws_option: parse_draws(optarg, options.settings.draws, &error); break;
      case seed_option: parse_seed(optarg, options.settings.seed, &error); break;
      case version_option: std::printf("%s %s\n", check_program, version); exit_program(EXIT_SUCCESS, check_program);
      default: exit_with_hint();
    }
    if (error) refuse(error);
  }
}

}  // namespace

void parse_check_options(int argc, char *argv[], check_options &options) {
  parse_switches(argc, argv, options);
  // getopt has moved the operands after the options.
  options.tracks =
      std::span<char *const>(argv, static_cast<std::size_t>(argc)).subspan(static_cast<std::size_t>(optind));
  if (options.tracks.empty()) refuse("no track");
  if (options.time_aloft != 0 && options.tracks.size() > 1) refuse("-t is the time of one run");
}

}  // namespace tarvel
