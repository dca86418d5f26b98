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

// The libraries read fonts in two threads at a time, beside which two that have ended may still count. They end the
// process where they get none.
constexpr std::size_t most_threads = 4;

struct font_configuration_closer {
  void operator()(FcConfig *configuration) const noexcept { FcConfigDestroy(configuration); }
};
using font_configuration_handle = std::unique_ptr<FcConfig, font_configuration_closer>;

// Left to themselves, the libraries load it in a thread of theirs, again and again until there is memory for it.
bool load_font_configuration() {
  const font_configuration_handle loaded(FcInitLoadConfigAndFonts());
  return loaded && FcConfigSetCurrent(loaded.get()) == FcTrue;
}

void *wait_for_gate(void *gate) {
  pthread_mutex_lock(static_cast<pthread_mutex_t *>(gate));
  pthread_mutex_unlock(static_cast<pthread_mutex_t *>(gate));
  return nullptr;
}

// All of them at once: none ends before the last has started.
bool can_start_threads() {
  std::array<pthread_t, most_threads> threads;
  std::size_t count = 0;
  pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&gate);
  while (count < most_threads && pthread_create(&threads[count], nullptr, wait_for_gate, &gate) == 0) ++count;
  pthread_mutex_unlock(&gate);
  for (std::size_t i = 0; i < count; ++i) pthread_join(threads[i], nullptr);
  return count == most_threads;
}

// Whether the system would grant so many bytes now. Nothing is taken.
bool has_room(std::size_t bytes) {
  void *const room = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return room != MAP_FAILED && munmap(room, bytes) == 0;
}

}  // namespace

void guard_drawing(std::size_t bytes, error_slot *error) {
  static bool has_fonts = false;
  // Their threads would each set aside 64 MB of addresses for themselves.
  mallopt(M_ARENA_MAX, 1);
  // With these set, the libraries write about themselves on standard output, or draw without words.
  unsetenv("FC_DEBUG");
  unsetenv("PANGOCAIRO_BACKEND");
  const bool is_ready = has_room(bytes) && can_start_threads();
  has_fonts = has_fonts || (is_ready && load_font_configuration());
  *error = is_ready && has_fonts ? nullptr : no_memory;
}

error_slot missing_from(cairo_t *cr) {
  // A context that has failed draws nothing more and does not tell its surface.
  if (cairo_status(cr) == CAIRO_STATUS_NO_MEMORY) return no_memory;
  return has_readable_font(cr) ? nullptr : "failed to read font for charts";
}

error_slot missing_from(cairo_status_t document) {
  return document == CAIRO_STATUS_SUCCESS || document == CAIRO_STATUS_WRITE_ERROR ? nullptr : no_memory;
}

}  // namespace tarvel
