// Calls of the real program.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tarvel {

struct program_result {
  int status = 0;   // exit status, or 128 and the signal that ended it
  std::string out;  // standard output
  std::string err;  // standard error
};

struct program_setting {
  std::string time_zone = "UTC";
  std::string out_path;                // where standard output goes instead of into the result
  std::vector<std::string> launcher;   // a program that runs this one, and its arguments
  std::function<void()> prepare = {};  // called in the new process before it becomes the program
};

// Runs the program under the name "tarvel" in the working directory. One that hangs is ended by a signal after a
// minute.
[[nodiscard]] program_result run_program(const std::vector<std::string> &arguments,
                                         const program_setting &setting = program_setting());

// The last line of a text without its newline.
[[nodiscard]] std::string last_line(const std::string &text);

// Copies a file of the examples into the working directory.
void copy_example(const std::string &name);

}  // namespace tarvel
