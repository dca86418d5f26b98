// Replaces functions of the C library in the program that it is linked to. Calls that are not to fail are passed on to
// the library.
#include "support/failing_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace tarvel {

namespace {

struct call_plan {
  bool is_armed = false;
  std::size_t granted = 0;
  std::size_t refused = 0;
  int error_number = 0;
};

std::array<call_plan, static_cast<std::size_t>(c_call::count_of_calls)> plans;

call_plan &plan_of(c_call call) { return plans[static_cast<std::size_t>(call)]; }

bool fails(c_call call) {
  call_plan &plan = plan_of(call);
  if (!plan.is_armed) return false;
  if (plan.granted > 0) {
    --plan.granted;
    return false;
  }
  ++plan.refused;
  errno = plan.error_number;
  return true;
}

template <typename function>
function next(const char *name) {
  return reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

failing_call::failing_call(c_call call, std::size_t granted, int error_number) : call_(call) {
  plan_of(call) = {true, granted, 0, error_number};
}

failing_call::~failing_call() { plan_of(call_) = {}; }

std::size_t failing_call::refused() const { return plan_of(call_).refused; }

}  // namespace tarvel

using tarvel::c_call;
using tarvel::fails;
using tarvel::next;

extern "C" {

std::FILE *open_memstream(char **bytes, std::size_t *size) noexcept {
  static const auto real = next<std::FILE *(*)(char **, std::size_t *)>("open_memstream");
  return fails(c_call::open_memstream) ? nullptr : real(bytes, size);
}

std::size_t fread(void *target, std::size_t size, std::size_t count, std::FILE *stream) {
  static const auto real = next<decltype(&fread)>("fread");
  if (!fails(c_call::fread)) return real(target, size, count, stream);
  stream->_flags |= _IO_ERR_SEEN;  // ferror() tests this flag
  return 0;
}

std::size_t fwrite(const void *source, std::size_t size, std::size_t count, std::FILE *stream) {
  static const auto real = next<decltype(&fwrite)>("fwrite");
  return fails(c_call::fwrite) ? 0 : real(source, size, count, stream);
}

int fseeko(std::FILE *stream, off_t offset, int whence) {
  static const auto real = next<decltype(&fseeko)>("fseeko");
  return fails(c_call::fseeko) ? -1 : real(stream, offset, whence);
}

off_t ftello(std::FILE *stream) {
  static const auto real = next<decltype(&ftello)>("ftello");
  return fails(c_call::ftello) ? -1 : real(stream);
}

int stat(const char *path, struct stat *status) noexcept {
  static const auto real = next<int (*)(const char *, struct stat *)>("stat");
  return fails(c_call::stat) ? -1 : real(path, status);
}

int lstat(const char *path, struct stat *status) noexcept {
  static const auto real = next<int (*)(const char *, struct stat *)>("lstat");
  return fails(c_call::lstat) ? -1 : real(path, status);
}

int fstat(int descriptor, struct stat *status) noexcept {
  static const auto real = next<int (*)(int, struct stat *)>("fstat");
  return fails(c_call::fstat) ? -1 : real(descriptor, status);
}

int fcntl(int descriptor, int command, ...) {
  std::va_list arguments;
  va_start(arguments, command);
  void *const argument = va_arg(arguments, void *);
  va_end(arguments);
  static const auto real = next<int (*)(int, int, ...)>("fcntl");
  return fails(c_call::fcntl) ? -1 : real(descriptor, command, argument);
}

std::FILE *fdopen(int descriptor, const char *mode) noexcept {
  static const auto real = next<std::FILE *(*)(int, const char *)>("fdopen");
  return fails(c_call::fdopen) ? nullptr : real(descriptor, mode);
}

char *realpath(const char *path, char *resolved) noexcept {
  static const auto real = next<char *(*)(const char *, char *)>("realpath");
  return fails(c_call::realpath) ? nullptr : real(path, resolved);
}

int renameat2(int from_folder, const char *from, int to_folder, const char *to, unsigned flags) noexcept {
  static const auto real = next<int (*)(int, const char *, int, const char *, unsigned)>("renameat2");
  return fails(c_call::renameat2) ? -1 : real(from_folder, from, to_folder, to, flags);
}

int rename(const char *from, const char *to) noexcept {
  static const auto real = next<int (*)(const char *, const char *)>("rename");
  return fails(c_call::rename) ? -1 : real(from, to);
}

int fsync(int descriptor) {
  static const auto real = next<decltype(&fsync)>("fsync");
  return fails(c_call::fsync) ? -1 : real(descriptor);
}

int ftruncate(int descriptor, off_t length) noexcept {
  static const auto real = next<int (*)(int, off_t)>("ftruncate");
  return fails(c_call::ftruncate) ? -1 : real(descriptor, length);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  static const auto real = next<int (*)(int, uid_t, gid_t)>("fchown");
  return fails(c_call::fchown) ? -1 : real(descriptor, owner, group);
}

int fchmod(int descriptor, mode_t mode) noexcept {
  static const auto real = next<int (*)(int, mode_t)>("fchmod");
  return fails(c_call::fchmod) ? -1 : real(descriptor, mode);
}

std::tm *localtime_r(const std::time_t *time, std::tm *fields) noexcept {
  static const auto real = next<std::tm *(*)(const std::time_t *, std::tm *)>("localtime_r");
  return fails(c_call::localtime_r) ? nullptr : real(time, fields);
}

std::size_t strftime(char *text, std::size_t size, const char *format, const std::tm *time) noexcept {
  static const auto real = next<std::size_t (*)(char *, std::size_t, const char *, const std::tm *)>("strftime");
  return fails(c_call::strftime) ? 0 : real(text, size, format, time);
}

}  // extern "C"
