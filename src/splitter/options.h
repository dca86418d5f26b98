// The command line of tarvel-split.
#pragma once

namespace tarvel {

// The program's name in its messages.
constexpr const char *split_program = "tarvel-split";

struct split_options {
  const char *track = nullptr;
  bool write = false;
  bool metric = false;
};

// Parses the command line. Ends the program with status 0 after --help and --version, and with status 1 and a message
// on standard error for a wrong command line.
[[nodiscard]] split_options parse_split_options(int argc, char *argv[]);

}  // namespace tarvel
