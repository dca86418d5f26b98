#include "splitter/options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>

#include "driver/exit.h"
#include "support/version.h"

namespace tarvel {

namespace {

constexpr char usage[] =
    "Usage: tarvel-split [-mw] track\n"
    "\n"
    "Lists the jumps in a track and what lies between them.\n"
    "\n"
    "  -m, --metric   heights in metres instead of feet\n"
    "  -w, --write    write each jump into a file of its own: day-1.csv, day-2.csv\n"
    "                 and so on, beside day.csv\n"
    "  -h, --help     print this help\n"
    "  -V, --version  print the version\n";

constexpr option long_options[] = {
    {"metric", no_argument, nullptr, 'm'},
    {"write", no_argument, nullptr, 'w'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void exit_with_hint() {
  std::fputs("Try 'tarvel-split --help' for more information.\n", stderr);
  exit_program(EXIT_FAILURE, split_program);
}

[[noreturn]] void exit_with_message(const char *message) {
  std::fprintf(stderr, "%s: %s\n", split_program, message);
  exit_with_hint();
}

}  // namespace

split_options parse_split_options(int argc, char *argv[]) {
  split_options options;
  for (int found = 0; (found = getopt_long(argc, argv, "mwhV", long_options, nullptr)) != -1;) {
    switch (found) {
      case 'm': options.metric = true; break;
      case 'w': options.write = true; break;
      case 'h': std::fputs(usage, stdout); exit_program(EXIT_SUCCESS, split_program);
      case 'V': std::printf("%s %s\n", split_program, version); exit_program(EXIT_SUCCESS, split_program);
      default: exit_with_hint();
    }
  }
  // getopt has moved the operands after the options.
  if (optind == argc) exit_with_message("no track given");
  if (argc - optind > 1) exit_with_message("more than one track given");
  options.track = argv[optind];
  return options;
}

}  // namespace tarvel
