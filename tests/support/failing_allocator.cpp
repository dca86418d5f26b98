// A library for LD_PRELOAD that replaces malloc and its relatives and makes chosen allocations fail.
//
//     FAIL_ALLOCATION=KIND,NUMBER,HOW   KIND is own or drawing; the allocation of this kind with this number (the first
//                                       is 1) fails; HOW is once, or onward: all later ones fail, too
//     ALLOCATION_REPORT=FILE            writes an allocation_report to this file
//
// An allocation is the program's own when the program calls the allocator, or when the C or C++ library calls it and
// the innermost stack frame outside these libraries is in the program: fopen called by the program is the program's,
// fopen called by a drawing library is drawing. All allocations in other threads are drawing, since the program starts
// no threads. Allocations of the dynamic loader are not counted and do not fail.
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/allocation_report.h"

namespace {

using tarvel::allocation_report;

enum class origin { own, drawing, loader };

struct address_range {
  std::uintptr_t first = 0;
  std::uintptr_t last = 0;

  [[nodiscard]] bool contains(std::uintptr_t address) const { return address >= first && address < last; }
};

// Every library that is not here, even one that is loaded later, counts as a drawing library.
struct known_modules {
  address_range program;
  address_range loader;
  std::array<address_range, 16> runtimes;  // the C and C++ libraries, the sanitizers, and this library
  std::size_t runtime_count = 0;
};

struct fault_plan {
  origin kind = origin::own;
  std::uint64_t number = 0;  // 0 for none
  bool is_onward = false;
};

constexpr std::array<std::string_view, 8> runtime_names = {"libc.so",  "libm.so",    "libstdc++.so", "libgcc_s.so",
                                                           "ld-linux", "libasan.so", "libubsan.so",  "liblsan.so"};

known_modules modules;
fault_plan plan;
allocation_report unmapped_report;
allocation_report *report = &unmapped_report;
std::atomic<bool> is_configured = false;
pthread_t main_thread;

// True while this library decides: allocations of the unwinder that it calls do not fail.
[[gnu::tls_model("initial-exec")]] thread_local bool is_busy = false;

address_range range_of(const dl_phdr_info &info) {
  address_range range = {UINTPTR_MAX, 0};
  for (int i = 0; i < info.dlpi_phnum; ++i) {
    const ElfW(Phdr) &segment = info.dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    const std::uintptr_t first = info.dlpi_addr + segment.p_vaddr;
    range.first = std::min(range.first, first);
    range.last = std::max(range.last, first + segment.p_memsz);
  }
  return range;
}

bool begins_with(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

int note_module(dl_phdr_info *info, std::size_t, void *) {
  const address_range range = range_of(*info);
  const std::string_view path = info->dlpi_name;
  const std::string_view name = path.substr(path.rfind('/') + 1);
  // The program comes first.
  if (modules.program.last == 0) {
    modules.program = range;
    return 0;
  }
  if (begins_with(name, "ld-linux")) modules.loader = range;
  const bool is_runtime = range.contains(reinterpret_cast<std::uintptr_t>(&note_module)) ||
                          std::any_of(runtime_names.begin(), runtime_names.end(),
                                      [&](std::string_view prefix) { return begins_with(name, prefix); });
  if (is_runtime && modules.runtime_count < modules.runtimes.size()) {
    modules.runtimes[modules.runtime_count++] = range;
  }
  return 0;
}

bool is_in_runtime(std::uintptr_t address) {
  const address_range *const begin = modules.runtimes.data();
  return std::any_of(begin, begin + modules.runtime_count,
                     [=](const address_range &range) { return range.contains(address); });
}

void read_plan() {
  const char *text = std::getenv("FAIL_ALLOCATION");
  if (text == nullptr) return;
  plan.kind = begins_with(text, "drawing") ? origin::drawing : origin::own;
  text = strchrnul(text, ',');
  if (*text == '\0') return;
  char *end = nullptr;
  plan.number = std::strtoull(text + 1, &end, 10);
  plan.is_onward = begins_with(end, ",onward");
}

void map_report() {
  const char *const path = std::getenv("ALLOCATION_REPORT");
  if (path == nullptr) return;
  const int descriptor = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0 || ftruncate(descriptor, sizeof(allocation_report)) != 0) return;
  void *const mapped = mmap(nullptr, sizeof(allocation_report), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  if (mapped != MAP_FAILED) report = static_cast<allocation_report *>(mapped);
}

// Reads the settings at the first allocation after the environment is set up; earlier ones are the loader's.
bool configure() {
  if (is_configured) return true;
  if (environ == nullptr) return false;
  is_configured = true;
  main_thread = pthread_self();
  dl_iterate_phdr(note_module, nullptr);
  read_plan();
  map_report();
  return true;
}

// The result of a walk up the stack, which ends at the first frame outside the runtime libraries. The place is its
// address when it is in the program, otherwise 0.
struct stack_walk {
  std::uintptr_t place = 0;
  bool is_drawing = false;
};

_Unwind_Reason_Code visit_frame(_Unwind_Context *context, void *walk_pointer) {
  auto &walk = *static_cast<stack_walk *>(walk_pointer);
  const std::uintptr_t address = _Unwind_GetIP(context);
  if (address == 0) return _URC_END_OF_STACK;
  if (is_in_runtime(address)) return _URC_NO_REASON;
  if (modules.program.contains(address)) {
    walk.place = address;
  } else {
    walk.is_drawing = true;
  }
  return _URC_END_OF_STACK;
}

origin find_origin(std::uintptr_t caller, std::uintptr_t &place) {
  place = caller;
  if (modules.program.contains(caller)) return origin::own;
  if (modules.loader.contains(caller)) return origin::loader;
  if (!is_in_runtime(caller) || pthread_self() != main_thread) return origin::drawing;
  stack_walk walk;
  _Unwind_Backtrace(visit_frame, &walk);
  place = walk.place;
  return walk.is_drawing ? origin::drawing : origin::own;
}

bool is_planned(origin kind, std::uint64_t number) {
  if (plan.number == 0) return false;
  // After the first failure in a drawing library all allocations fail, also the program's own.
  if (plan.is_onward && plan.kind == origin::drawing && report->refused != 0) return true;
  return kind == plan.kind && (plan.is_onward ? number >= plan.number : number == plan.number);
}

bool refuses_now(std::uintptr_t caller) {
  std::uintptr_t place = 0;
  const origin kind = find_origin(caller, place);
  if (kind == origin::loader) return false;
  const std::uint64_t number = ++(kind == origin::own ? report->own : report->drawing);
  if (!is_planned(kind, number)) return false;
  if (report->refused++ == 0 && place != 0) report->place = place - modules.program.first;
  return true;
}

bool refuses(void *caller) {
  if (is_busy) return false;
  is_busy = true;
  const int errno_before = errno;
  const bool is_refused = configure() && refuses_now(reinterpret_cast<std::uintptr_t>(caller));
  errno = is_refused ? ENOMEM : errno_before;
  is_busy = false;
  return is_refused;
}

// The function that this library replaces: that of the C library, or of a sanitizer.
template <typename function>
function next(const char *name) {
  return reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Each of these calls refuses() itself: only in the function that was called is the return address the caller's.
extern "C" {

void *malloc(std::size_t size) noexcept {
  static const auto real = next<void *(*)(std::size_t)>("malloc");
  return refuses(__builtin_return_address(0)) ? nullptr : real(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept {
  static const auto real = next<void *(*)(std::size_t, std::size_t)>("calloc");
  return refuses(__builtin_return_address(0)) ? nullptr : real(count, size);
}

void *realloc(void *block, std::size_t size) noexcept {
  static const auto real = next<void *(*)(void *, std::size_t)>("realloc");
  return refuses(__builtin_return_address(0)) ? nullptr : real(block, size);
}

void *reallocarray(void *block, std::size_t count, std::size_t size) noexcept {
  static const auto real = next<void *(*)(void *, std::size_t, std::size_t)>("reallocarray");
  return refuses(__builtin_return_address(0)) ? nullptr : real(block, count, size);
}

void *memalign(std::size_t alignment, std::size_t size) noexcept {
  static const auto real = next<void *(*)(std::size_t, std::size_t)>("memalign");
  return refuses(__builtin_return_address(0)) ? nullptr : real(alignment, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  static const auto real = next<void *(*)(std::size_t, std::size_t)>("aligned_alloc");
  return refuses(__builtin_return_address(0)) ? nullptr : real(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept {
  static const auto real = next<int (*)(void **, std::size_t, std::size_t)>("posix_memalign");
  return refuses(__builtin_return_address(0)) ? ENOMEM : real(block, alignment, size);
}

}  // extern "C"
