// The command line of tarvel-split.
#pragma once

namespace tarvel {

// What stands before its messages.
constexpr const char *split_program = "tarvel-split";

struct split_options {
  const char *track = nullptr;
  bool write = false;
  bool metric = false;
};

// Ends the program after printing the help or the version, with status 0, and after a message on standard error about a
// wrong command line, with status 1.
[[nodiscard]] split_options parse_split_options(int argc, char *argv[]);

}  // namespace tarvel
