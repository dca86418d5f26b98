#include "json/json_options.h"

#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "driver/exit.h"
#include "support/integer.h"
#include "support/version.h"

namespace tarvel {

namespace {

constexpr int usage_error = 2;

constexpr const char *help =
    "usage: tarvel-json [options] run\n"
    "\n"
    "Analyses a run as tarvel does and writes all that was found as one JSON document\n"
    "to standard output. The course comes from matrix.txt in the working directory.\n"
    "\n"
    "  run               the track of the run; - for standard input\n"
    "\n"
    "options:\n"
    "  -h, --help        print this\n"
    "  -i, --implicit    find the entry gate from the run itself\n"
    "  -m, --metric      texts and charts in m and km/h instead of ft and mph\n"
    "  -t, --aloft s     seconds aloft, as a judge measured them\n"
    "  --version         print the version\n"
    "\n"
    "exit status: 0 for a run that succeeded, 1 for one that failed (the document says\n"
    "why), 2 for a command line that is wrong (no document is written)\n";

constexpr int version_option = 256;  // no letter

constexpr option long_options[] = {
    {"help", no_argument, nullptr, 'h'},
    {"implicit", no_argument, nullptr, 'i'},
    {"metric", no_argument, nullptr, 'm'},
    {"aloft", required_argument, nullptr, 't'},
    {"version", no_argument, nullptr, version_option},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void exit_with_hint() {
  std::fputs("Try 'tarvel-json --help'.\n", stderr);
  exit_program(usage_error);
}

[[noreturn]] void print_and_exit(const char *words) {
  std::fputs(words, stdout);
  exit_program(EXIT_SUCCESS);
}

// As tarvel reads it, but nothing else than a number.
std::uint32_t parse_time_aloft(const char *argument) {
  constexpr double longest = 4294967.0;  // seconds, whose milliseconds fit
  char *end = nullptr;
  const double seconds = std::strtod(argument, &end);
  if (end == argument || *end != '\0' || !(seconds >= 0.0 && seconds <= longest)) {
    std::fprintf(stderr, "tarvel-json: not a number of seconds: %s\n", argument);
    exit_with_hint();
  }
  return truncate_to_uint32(seconds * 1000.0);
}

}  // namespace

json_options parse_json_options(int argc, char *argv[]) {
  json_options options;
  for (int letter = 0; (letter = getopt_long(argc, argv, "himt:", long_options, nullptr)) != -1;) {
    switch (letter) {
      case 'h': print_and_exit(help);
      case 'i': options.implicit_gate = true; break;
      case 'm': options.metric = true; break;
      case 't': options.time_aloft = parse_time_aloft(optarg); break;
      case version_option: std::printf("tarvel-json %s\n", version); exit_program(EXIT_SUCCESS);
      default: exit_with_hint();
    }
  }
  if (argc - optind != 1) {
    std::fputs(argc == optind ? "tarvel-json: no track\n" : "tarvel-json: more than one track\n", stderr);
    exit_with_hint();
  }
  options.track = argv[optind];
  return options;
}

}  // namespace tarvel
