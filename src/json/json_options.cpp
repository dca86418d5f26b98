#include "json/json_options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>

#include "checker/number_arguments.h"
#include "driver/exit.h"
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
    "  --check           how far each figure can be trusted: see tarvel-check(1)\n"
    "  --draws n         tracks to draw for --check, 40 to 10000 (400)\n"
    "  --seed n          where its random numbers begin (1)\n"
    "  --version         print the version\n"
    "\n"
    "exit status: 0 for a run that succeeded, 1 for one that failed (the document says\n"
    "why), 2 for a command line that is wrong (no document is written)\n";

// Options without a letter.
enum long_option { check_option = 256, draws_option, seed_option, version_option };

constexpr option long_options[] = {
    {"help", no_argument, nullptr, 'h'},
    {"implicit", no_argument, nullptr, 'i'},
    {"metric", no_argument, nullptr, 'm'},
    {"aloft", required_argument, nullptr, 't'},
    {"check", no_argument, nullptr, check_option},
    {"draws", required_argument, nullptr, draws_option},
    {"seed", required_argument, nullptr, seed_option},
    {"version", no_argument, nullptr, version_option},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void exit_with_hint() {
  std::fputs("Try 'tarvel-json --help'.\n", stderr);
  exit_program(usage_error, json_program);
}

[[noreturn]] void refuse(const char *message) {
  std::fprintf(stderr, "%s: %s\n", json_program, message);
  exit_with_hint();
}

[[noreturn]] void print_and_exit(const char *words) {
  std::fputs(words, stdout);
  exit_program(EXIT_SUCCESS, json_program);
}

// The options as far as they are parsed. --draws and --seed count only with --check, which may come after them.
struct given_switches {
  json_options options;
  check_settings settings;
  bool is_checked = false;
  bool has_settings = false;
};

given_switches parse_switches(int argc, char *argv[]) {
  given_switches given;
  for (int letter = 0; (letter = getopt_long(argc, argv, "himt:", long_options, nullptr)) != -1;) {
    error_slot error = nullptr;
    given.has_settings = given.has_settings || letter == draws_option || letter == seed_option;
    switch (letter) {
      case 'h': print_and_exit(help);
      case 'i': given.options.implicit_gate = true; break;
      case 'm': given.options.metric = true; break;
      case 't': parse_time_aloft(optarg, given.options.time_aloft, &error); break;
      case check_option: given.is_checked = true; break;
      case draws_option: parse_draws(optarg, given.settings.draws, &error); break;
      case seed_option: parse_seed(optarg, given.settings.seed, &error); break;
      case version_option: std::printf("%s %s\n", json_program, version); exit_program(EXIT_SUCCESS, json_program);
      default: exit_with_hint();
    }
    if (error) refuse(error);
  }
  return given;
}

}  // namespace

json_options parse_json_options(int argc, char *argv[]) {
  given_switches given = parse_switches(argc, argv);
  if (argc - optind != 1) refuse(argc == optind ? "no track" : "more than one track");
  if (given.has_settings && !given.is_checked) refuse("--draws and --seed need --check");
  if (given.is_checked) given.options.check = given.settings;
  given.options.track = argv[optind];
  return given.options;
}

}  // namespace tarvel
