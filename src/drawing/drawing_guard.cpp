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

// The libraries read fonts in two threads at a time; two earlier ones may still be ending. They end the process when a
// thread cannot be started.
constexpr std::size_t most_threads = 4;

struct font_configuration_closer {
  void operator()(FcConfig *configuration) const noexcept { FcConfigDestroy(configuration); }
};
using font_configuration_handle = std::unique_ptr<FcConfig, font_configuration_closer>;

// Loads the font configuration before the libraries do: they would load it in a thread, which never ends when memory is
// short.
bool load_font_configuration() {
  const font_configuration_handle loaded(FcInitLoadConfigAndFonts());
  return loaded && FcConfigSetCurrent(loaded.get()) == FcTrue;
}

void *wait_for_start(void *start) {
  pthread_mutex_lock(static_cast<pthread_mutex_t *>(start));
  pthread_mutex_unlock(static_cast<pthread_mutex_t *>(start));
  return nullptr;
}

// Starts all threads before any of them may end.
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

// True when this number of bytes can be allocated. They are freed again.
bool can_allocate(std::size_t bytes) {
  void *const room = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return room != MAP_FAILED && munmap(room, bytes) == 0;
}

}  // namespace

void guard_drawing(std::size_t bytes, error_slot *error) {
  static bool has_fonts = false;
  // Otherwise the C library would reserve 64 MB of address space for each of their threads.
  mallopt(M_ARENA_MAX, 1);
  // With these set, the libraries print debug messages to standard output, or draw no text.
  unsetenv("FC_DEBUG");
  unsetenv("PANGOCAIRO_BACKEND");
  const bool is_ready = can_allocate(bytes) && can_start_threads();
  has_fonts = has_fonts || (is_ready && load_font_configuration());
  *error = is_ready && has_fonts ? nullptr : no_memory;
}

error_slot drawing_error(cairo_t *cr) {
  // After a failure the context draws nothing more, but the status of its surface is still success.
  if (cairo_status(cr) == CAIRO_STATUS_NO_MEMORY) return no_memory;
  return has_readable_font(cr) ? nullptr : "failed to read font for charts";
}

error_slot drawing_error(cairo_status_t document) {
  return document == CAIRO_STATUS_SUCCESS || document == CAIRO_STATUS_WRITE_ERROR ? nullptr : no_memory;
}

}  // namespace tarvel
