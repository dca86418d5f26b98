#include "json/json_options.h"

#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "checker/draw_options.h"
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

std::uint32_t parse_draws(const char *argument) {
  std::uint32_t draws = 0;
  if (is_number_of_draws(argument, draws)) return draws;
  std::fprintf(stderr, "tarvel-json: not a number of draws from 40 to 10000: %s\n", argument);
  exit_with_hint();
}

std::uint64_t parse_seed(const char *argument) {
  std::uint64_t seed = 0;
  if (is_number(argument, seed)) return seed;
  std::fprintf(stderr, "tarvel-json: not a whole number: %s\n", argument);
  exit_with_hint();
}

// What the switches say; --draws and --seed stand on their own until --check is known.
struct given_switches {
  json_options options;
  check_settings settings;
  bool is_checked = false;
  bool has_settings = false;
};

given_switches parse_switches(int argc, char *argv[]) {
  given_switches given;
  for (int letter = 0; (letter = getopt_long(argc, argv, "himt:", long_options, nullptr)) != -1;) {
    given.has_settings = given.has_settings || letter == draws_option || letter == seed_option;
    switch (letter) {
      case 'h': print_and_exit(help);
      case 'i': given.options.implicit_gate = true; break;
      case 'm': given.options.metric = true; break;
      case 't': given.options.time_aloft = parse_time_aloft(optarg); break;
      case check_option: given.is_checked = true; break;
      case draws_option: given.settings.draws = parse_draws(optarg); break;
      case seed_option: given.settings.seed = parse_seed(optarg); break;
      case version_option: std::printf("tarvel-json %s\n", version); exit_program(EXIT_SUCCESS);
      default: exit_with_hint();
    }
  }
  return given;
}

}  // namespace

json_options parse_json_options(int argc, char *argv[]) {
  given_switches given = parse_switches(argc, argv);
  if (argc - optind != 1) {
    std::fputs(argc == optind ? "tarvel-json: no track\n" : "tarvel-json: more than one track\n", stderr);
    exit_with_hint();
  }
  if (given.has_settings && !given.is_checked) {
    std::fputs("tarvel-json: --draws and --seed need --check\n", stderr);
    exit_with_hint();
  }
  if (given.is_checked) given.options.check = given.settings;
  given.options.track = argv[optind];
  return given.options;
}

}  // namespace tarvel
