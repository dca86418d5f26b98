// The command line.
#pragma once

#include <cstdint>

#include "support/memory.h"

namespace tarvel {

// The configuration of one call. All zero or null before parse_options.
struct run_config {
  std::uint8_t debug = 0;          // -d: coordinate dump and .tvl copies
  std::uint8_t implicit_gate = 0;  // -i: the gate from the run itself, no course file
  std::uint8_t pond = 0;           // -p: write the surveyed pond into the course file
  std::uint8_t metric = 0;         // -m: report and charts in SI units
  std::uint32_t time_aloft = 0;    // -t: ms between entry gate and touchdown
  owned_text gate_file;            // -g: the walked course
  owned_text swoop_file;           // the run
};

// Fills the configuration. Ends the program with status 0 after -v, and with status 1 and a message or the usage text
// for a wrong command line.
void parse_options(int argc, char *argv[], run_config &config);

void print_usage(const char *program_name);

}  // namespace tarvel
