// The command line of tarvel-check.
#pragma once

#include <cstdint>
#include <span>

#include "check/run_check.h"

namespace tarvel {

// The program's name in its messages.
constexpr const char *check_program = "tarvel-check";

struct check_options {
  bool implicit_gate = false;    // -i: the gate from the runs themselves, no course file
  bool metric = false;           // -m: metres and km/h
  std::uint32_t time_aloft = 0;  // -t: ms between entry gate and touchdown; 0 when not given
  check_settings settings;       // --draws, --seed
  std::span<char *const> tracks;
};

// Fills the options. Ends the program with status 0 after --help and --version, and with status 1 and a message on
// standard error for a wrong command line.
void parse_check_options(int argc, char *argv[], check_options &options);

}  // namespace tarvel
