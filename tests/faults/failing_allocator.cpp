// Stands before the C library's allocator (LD_PRELOAD) and refuses requests that it is told to refuse.
//
//     FAIL_ALLOCATION=KIND,COUNT,HOW   KIND own or drawing; the COUNT-th of that kind, from 1, is refused; HOW once, or
//                                      ever: all that follow, too
//     ALLOCATION_REPORT=FILE           gets an allocation_report
//
// A request is the program's own when the program makes it, or when the C or C++ library makes it and the innermost
// frame outside of them is the program's: fopen in the program counts, the fopen of a drawing library is that
// library's. So is all that happens in a thread, since the program starts none. What the dynamic loader asks for is
// nobody's.
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

#include "faults/allocation_report.h"

namespace {

using tarvel::allocation_report;

enum class origin { own, drawing, loader };

struct address_range {
  std::uintptr_t first = 0;
  std::uintptr_t last = 0;

  [[nodiscard]] bool contains(std::uintptr_t address) const { return address >= first && address < last; }
};

// Drawing libraries are all that is not listed here, also what is loaded later.
struct known_modules {
  address_range program;
  address_range loader;
  std::array<address_range, 16> go_betweens;
  std::size_t go_between_count = 0;
};

struct fault_plan {
  origin kind = origin::own;
  std::uint64_t number = 0;  // 0 for none
  bool for_ever = false;
};

constexpr std::array<std::string_view, 8> go_between_names = {"libc.so",  "libm.so",    "libstdc++.so", "libgcc_s.so",
                                                              "ld-linux", "libasan.so", "libubsan.so",  "liblsan.so"};

known_modules modules;
fault_plan plan;
allocation_report unmapped_report;
allocation_report *report = &unmapped_report;
std::atomic<bool> is_configured = false;
pthread_t main_thread;

// Of this library's own code as well as of the unwinder, should that ask for memory.
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
  const bool is_go_between = range.contains(reinterpret_cast<std::uintptr_t>(&note_module)) ||
                             std::any_of(go_between_names.begin(), go_between_names.end(),
                                         [&](std::string_view prefix) { return begins_with(name, prefix); });
  if (is_go_between && modules.go_between_count < modules.go_betweens.size()) {
    modules.go_betweens[modules.go_between_count++] = range;
  }
  return 0;
}

bool is_go_between(std::uintptr_t address) {
  const address_range *const begin = modules.go_betweens.data();
  return std::any_of(begin, begin + modules.go_between_count,
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
  plan.for_ever = begins_with(end, ",ever");
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

// At the first request that comes when there is an environment; before, only the loader asks for memory.
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

// A place in the program, or 0 for the first frame that is neither the program's nor a go-between's.
struct stack_walk {
  std::uintptr_t place = 0;
  bool is_drawing = false;
};

_Unwind_Reason_Code visit_frame(_Unwind_Context *context, void *walk_pointer) {
  auto &walk = *static_cast<stack_walk *>(walk_pointer);
  const std::uintptr_t address = _Unwind_GetIP(context);
  if (address == 0) return _URC_END_OF_STACK;
  if (is_go_between(address)) return _URC_NO_REASON;
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
  if (!is_go_between(caller) || pthread_self() != main_thread) return origin::drawing;
  stack_walk walk;
  _Unwind_Backtrace(visit_frame, &walk);
  place = walk.place;
  return walk.is_drawing ? origin::drawing : origin::own;
}

bool is_planned(origin kind, std::uint64_t number) {
  if (plan.number == 0) return false;
  // Once memory is short for the drawing libraries, it is for everybody.
  if (plan.for_ever && plan.kind == origin::drawing && report->refused != 0) return true;
  return kind == plan.kind && (plan.for_ever ? number >= plan.number : number == plan.number);
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

// The next library's function of that name: the C library's, or a sanitizer's.
template <typename function>
function next(const char *name) {
  return reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Every way to memory is a function of its own: the caller's address is known only in the one that was called.
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
