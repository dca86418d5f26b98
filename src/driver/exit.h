// Functions that end the program.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// Ends the program with this status. When writing to standard output has failed, prints "PREFIX: failed to write file:
// standard output" to standard error and ends the program with status 1. For programs other than tarvel the prefix is
// the program's name, as in their other messages.
[[noreturn]] void exit_program(int status, const char *prefix = "ERROR");

// Prints "ERROR: %s\n" and ends the program with status 1. Does nothing for null, so it is called after every stage.
void fatal_error(error_slot message);

// Prints "PROGRAM: MESSAGE\n" to standard error and ends the program with status 1; does nothing for null. For the
// programs other than tarvel, whose standard output other programs read.
void fail_program(const char *program, error_slot message);

}  // namespace tarvel
