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

// Ends the program with status 0 after printing the help or the version, and with status 1 after a message about a
// wrong command line on standard error.
[[nodiscard]] split_options parse_split_options(int argc, char *argv[]);

}  // namespace tarvel
