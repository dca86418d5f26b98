// The command line of tarvel-json.
#pragma once

#include <cstdint>
#include <optional>

#include "check/run_check.h"

namespace tarvel {

constexpr const char *json_program = "tarvel-json";

struct json_options {
  bool implicit_gate = false;
  bool metric = false;
  std::uint32_t time_aloft = 0;  // ms
  std::optional<check_settings> check;
  const char *track = nullptr;  // "-" for standard input
};

// Parses the command line. Ends the program with status 0 after --help and --version, and with status 2 and a message
// on standard error for a wrong command line.
[[nodiscard]] json_options parse_json_options(int argc, char *argv[]);

}  // namespace tarvel
