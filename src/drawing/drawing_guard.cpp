#include "drawing/drawing_guard.h"

#include <fontconfig/fontconfig.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>

#include <array>
#include <cstdlib>
#include <memory>

#include "drawing/renderer.h"

namespace tarvel {

namespace {

constexpr error_slot no_memory = "failed to allocate memory for charts";

// Two threads read fonts at a time; two more may not have been released yet. The libraries end the process when one
// cannot be started.
constexpr std::size_t most_threads = 4;

struct font_configuration_closer {
  void operator()(FcConfig *configuration) const noexcept { FcConfigDestroy(configuration); }
};
using font_configuration_handle = std::unique_ptr<FcConfig, font_configuration_closer>;

// Otherwise the libraries load it in a thread of their own, and try again for ever while memory is short.
bool load_font_configuration() {
  const font_configuration_handle loaded(FcInitLoadConfigAndFonts());
  return loaded && FcConfigSetCurrent(loaded.get()) == FcTrue;
}

void *wait_for_start(void *start) {
  pthread_mutex_lock(static_cast<pthread_mutex_t *>(start));
  pthread_mutex_unlock(static_cast<pthread_mutex_t *>(start));
  return nullptr;
}

// All of them at once: none ends before the last has started.
bool can_start_threads() {
  std::array<pthread_t, most_threads> threads;
  std::size_t count = 0;
  pthread_mutex_t start = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&start);
  while (count < most_threads && pthread_create(&threads[count], nullptr, wait_for_start, &start) == 0) ++count;
  pthread_mutex_unlock(&start);
  for (std::size_t i = 0; i < count; ++i) pthread_join(threads[i], nullptr);
  return count == most_threads;
}

// True when so many bytes can be allocated now. They are released again.
bool has_room(std::size_t bytes) {
  void *const room = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return room != MAP_FAILED && munmap(room, bytes) == 0;
}

}  // namespace

void guard_drawing(std::size_t bytes, error_slot *error) {
  static bool has_fonts = false;
  // Each of their threads would otherwise reserve 64 MB of address space.
  mallopt(M_ARENA_MAX, 1);
  // With these set, the libraries print debug messages to standard output, or draw no text.
  unsetenv("FC_DEBUG");
  unsetenv("PANGOCAIRO_BACKEND");
  const bool is_ready = has_room(bytes) && can_start_threads();
  has_fonts = has_fonts || (is_ready && load_font_configuration());
  *error = is_ready && has_fonts ? nullptr : no_memory;
}

error_slot missing_from(cairo_t *cr) {
  // A context that has failed draws nothing more, and the status of its surface stays good.
  if (cairo_status(cr) == CAIRO_STATUS_NO_MEMORY) return no_memory;
  return has_readable_font(cr) ? nullptr : "failed to read font for charts";
}

error_slot missing_from(cairo_status_t document) {
  return document == CAIRO_STATUS_SUCCESS || document == CAIRO_STATUS_WRITE_ERROR ? nullptr : no_memory;
}

}  // namespace tarvel
