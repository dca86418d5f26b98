// short_transfers FOLDER COMMAND [ARGUMENT...]: runs the command with short reads and writes. Each read and write of a
// file in the folder, or of standard output, transfers at most 1, 2, ... 7 bytes, in turn.
//
// The command is traced by ptrace, and the length is reduced when it enters the system call: the C library sees a short
// transfer as from a slow device. Other calls (readv, mmap and the like) are not changed; the program's own code does
// not use them. The exit status is that of the command, or 125 when tracing is not permitted.
#include <elf.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int cannot_trace = 125;
constexpr int cannot_run = 127;
constexpr int system_call_stop = SIGTRAP | 0x80;

// The third argument of a system call.
auto &length_of(user_regs_struct &registers) {
#if defined(__x86_64__)
  return registers.rdx;
#elif defined(__aarch64__)
  return registers.regs[2];
#else
#error "the register of the third argument is not known for this processor"
#endif
}

void shorten(pid_t thread, std::uint64_t length) {
  user_regs_struct registers = {};
  iovec block = {&registers, sizeof registers};
  if (ptrace(PTRACE_GETREGSET, thread, NT_PRSTATUS, &block) != 0) return;
  length_of(registers) = length;
  ptrace(PTRACE_SETREGSET, thread, NT_PRSTATUS, &block);
}

bool is_meant(pid_t thread, std::uint64_t descriptor, const std::string &folder) {
  if (descriptor == STDOUT_FILENO) return true;
  const std::string link = "/proc/" + std::to_string(thread) + "/fd/" + std::to_string(descriptor);
  std::string target(folder.size(), '\0');
  return readlink(link.c_str(), target.data(), target.size()) == static_cast<ssize_t>(target.size()) &&
         target == folder;
}

void shorten_transfer(pid_t thread, const std::string &folder) {
  static std::uint64_t turn = 0;
  __ptrace_syscall_info info = {};
  if (ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info) <= 0) return;
  if (info.op != PTRACE_SYSCALL_INFO_ENTRY) return;
  if (info.entry.nr != SYS_read && info.entry.nr != SYS_write) return;
  if (!is_meant(thread, info.entry.args[0], folder)) return;
  const std::uint64_t length = 1 + turn++ % 7;
  if (length < info.entry.args[2]) shorten(thread, length);
}

[[noreturn]] void end_like(int status) {
  if (WIFSIGNALED(status)) {
    std::signal(WTERMSIG(status), SIG_DFL);
    raise(WTERMSIG(status));
  }
  std::exit(WEXITSTATUS(status));
}

// The signal to pass on after a stop: 0 unless the stop is the delivery of a signal (not a system call or an event).
int signal_of(int status) {
  const bool is_event = status >> 16 != 0;
  return is_event || WSTOPSIG(status) == system_call_stop || WSTOPSIG(status) == SIGSTOP ? 0 : WSTOPSIG(status);
}

[[noreturn]] void trace_to_the_end(pid_t child, const std::string &folder) {
  for (;;) {
    int status = 0;
    const pid_t thread = waitpid(-1, &status, __WALL);
    if (thread < 0) std::exit(cannot_trace);
    if (!WIFSTOPPED(status)) {
      if (thread == child) end_like(status);
      continue;
    }
    if (WSTOPSIG(status) == system_call_stop) shorten_transfer(thread, folder);
    ptrace(PTRACE_SYSCALL, thread, nullptr, signal_of(status));
  }
}

[[noreturn]] void run_traced(char *command[]) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(cannot_trace);
  raise(SIGSTOP);
  execvp(command[0], command);
  _exit(cannot_run);
}

}  // namespace

int main(int argc, char *argv[]) {
  if (argc < 3) {
    std::fputs("usage: short_transfers FOLDER COMMAND [ARGUMENT...]\n", stderr);
    return cannot_trace;
  }
  const pid_t child = fork();
  if (child == 0) run_traced(argv + 2);
  int status = 0;
  if (child < 0 || waitpid(child, &status, __WALL) != child) return cannot_trace;
  if (!WIFSTOPPED(status)) end_like(status);
  constexpr long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
  if (ptrace(PTRACE_SETOPTIONS, child, nullptr, options) != 0) return cannot_trace;
  ptrace(PTRACE_SYSCALL, child, nullptr, 0);
  trace_to_the_end(child, argv[1]);
}
