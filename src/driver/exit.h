// The ways out of the program.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// Ends the program with this status, or with status 1 and "ERROR: failed to write file: standard output" on standard
// error when what was printed did not all get out.
[[noreturn]] void exit_program(int status);

// Prints "ERROR: %s\n" and ends the program with status 1; null returns at once. Every stage's result goes through
// here.
void fatal_error(error_slot message);

// Prints "PROGRAM: MESSAGE\n" to standard error and ends the program with status 1; null returns at once. For the
// programs beside tarvel, whose standard output others read.
void fail_program(const char *program, error_slot message);

}  // namespace tarvel
