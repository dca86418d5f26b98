#include "support/program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/files.h"

namespace tarvel {

namespace {

constexpr unsigned patience = 60;  // seconds

std::string everything_in(std::FILE *file) {
  std::string text;
  std::rewind(file);
  for (int c = std::getc(file); c != EOF; c = std::getc(file)) text += static_cast<char>(c);
  return text;
}

[[noreturn]] void become_program(const std::vector<std::string> &arguments, const program_setting &setting, int out,
                                 int err) {
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  setenv("TZ", setting.time_zone.c_str(), 1);
  unsetenv("POSIXLY_CORRECT");
  alarm(patience);
  const char *const program = std::getenv("TARVEL_PROGRAM");
  if (program == nullptr) _exit(127);
  std::vector<std::string> words = setting.launcher;
  words.emplace_back(setting.launcher.empty() ? "tarvel" : program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char *> argv;
  for (std::string &word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  if (setting.prepare) setting.prepare();
  execv(setting.launcher.empty() ? program : argv[0], argv.data());
  _exit(127);
}

}  // namespace

program_result run_program(const std::vector<std::string> &arguments, const program_setting &setting) {
  const file_handle out(setting.out_path.empty() ? std::tmpfile() : std::fopen(setting.out_path.c_str(), "wb"));
  const file_handle err(std::tmpfile());
  program_result result;
  if (!out || !err) {
    ADD_FAILURE() << "no file for the program's output";
    return result;
  }
  const pid_t child = fork();
  if (child == 0) become_program(arguments, setting, fileno(out.get()), fileno(err.get()));
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  EXPECT_NE(result.status, 127) << "TARVEL_PROGRAM does not name a program";
  if (setting.out_path.empty()) result.out = everything_in(out.get());
  result.err = everything_in(err.get());
  return result;
}

std::string last_line(const std::string &text) {
  if (text.empty()) return "";
  const std::size_t end = text.back() == '\n' ? text.size() - 1 : text.size();
  const std::size_t start = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
  return start == std::string::npos ? text.substr(0, end) : text.substr(start + 1, end - start - 1);
}

void copy_example(const std::string &name) { write_text(name, read_text(source_dir() + "/examples/" + name)); }

}  // namespace tarvel
