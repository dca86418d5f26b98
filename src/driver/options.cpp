#include "driver/options.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "driver/exit.h"
#include "support/integer.h"
#include "support/version.h"

namespace tarvel {

namespace {

[[noreturn]] void exit_with_usage(const char *program_name) {
  print_usage(program_name);
  exit_program(EXIT_FAILURE);
}

[[noreturn]] void exit_with_message(const char *message) {
  std::puts(message);
  exit_program(EXIT_FAILURE);
}

owned_text copy_argument(const char *argument) {
  owned_text copy = try_duplicate(argument);
  if (!copy) fatal_error("strdup() failed");
  return copy;
}

void parse_switches(int argc, char *argv[], run_config &config) {
  for (int option = getopt(argc, argv, "vdipmt:g:"); option != -1; option = getopt(argc, argv, "vdipmt:g:")) {
    switch (option) {
      case 'v': std::printf("Tarvel %s\n", version); exit_program(EXIT_SUCCESS);
      case 'd': config.debug = 1; break;
      case 'i': config.implicit_gate = 1; break;
      case 'p': config.pond = 1; break;
      case 'm': config.metric = 1; break;
      case 't': config.time_aloft = truncate_to_uint32(std::strtod(optarg, nullptr) * 1000.0); break;
      case 'g': config.gate_file = copy_argument(optarg); break;
      default: exit_with_usage(argv[0]);
    }
  }
}

}  // namespace

void print_usage(const char *program_name) {
  std::printf(
      "\n"
      "COMMAND LINE USAGE:\n"
      "\n"
      "   %s [-vdipm] [-t time] [-g gate] [swoop]\n"
      "\n"
      "      -v        Display tool version\n"
      "      -d        Debug mode (output coordinate file)\n"
      "      -i        Determine entry gate implicitly from the swoop\n"
      "      -p        Gate is located in a pond (pond will be drawn in plots)\n"
      "      -m        Output metric (SI) units\n"
      "      -t time   Specify time aloft (between entry gate and touchdown)\n"
      "      -g gate   Locate entry gate using GPS track from gate file\n"
      "      swoop     Process swoop using GPS track from swoop file\n"
      "\n",
      program_name);
}

void parse_options(int argc, char *argv[], run_config &config) {
  if (argc <= 1) exit_with_usage(argc == 1 ? argv[0] : "tarvel");
  parse_switches(argc, argv, config);
  if (config.implicit_gate && config.gate_file) exit_with_message("Conflicting parameters (-i and -g)");
  // getopt has moved the operands after the options.
  const int words = argc - optind;
  if (words > 1) exit_with_message("Too many command line parameters");
  if (words == 1) config.swoop_file = copy_argument(argv[optind]);
}

}  // namespace tarvel
