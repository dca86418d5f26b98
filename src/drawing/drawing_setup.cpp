#include "drawing/drawing_setup.h"

#include <fontconfig/fontconfig.h>
#include <malloc.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>

#include "support/memory.h"

namespace tarvel {

namespace {

struct font_configuration_closer {
  void operator()(FcConfig *configuration) const noexcept { FcConfigDestroy(configuration); }
};
using font_configuration_handle = std::unique_ptr<FcConfig, font_configuration_closer>;

// Left to themselves, the libraries load it in a thread of theirs, again and again until there is memory for it.
bool load_font_configuration() {
  const font_configuration_handle loaded(FcInitLoadConfigAndFonts());
  return loaded && FcConfigSetCurrent(loaded.get()) == FcTrue;
}

// They read fonts in threads, and end the process where they get none.
bool can_start_thread() {
  pthread_t thread;
  const auto do_nothing = [](void *nothing) { return nothing; };
  return pthread_create(&thread, nullptr, do_nothing, nullptr) == 0 && pthread_join(thread, nullptr) == 0;
}

// For the document, the font settings, font files and their caches, which are open one or two at a time.
bool can_open_files() {
  std::array<int, 8> numbers;
  for (int &number : numbers) number = dup(STDIN_FILENO);
  bool are_open = true;
  for (const int number : numbers) are_open = close(number) == 0 && are_open;
  return are_open;
}

}  // namespace

void prepare_drawing(std::uint32_t samples, error_slot *error) {
  static bool has_fonts = false;
  // Their threads would each set aside 64 MB of addresses for themselves.
  mallopt(M_ARENA_MAX, 1);
  // With these set, the libraries write about themselves on standard output, or draw without words.
  unsetenv("FC_DEBUG");
  unsetenv("PANGOCAIRO_BACKEND");
  if (!can_open_files()) {
    *error = "failed to read font for charts";
    return;
  }
  const bool is_ready = has_room(drawing_room(samples)) && can_start_thread();
  has_fonts = has_fonts || (is_ready && load_font_configuration());
  *error = is_ready && has_fonts ? nullptr : "failed to allocate memory for charts";
}

}  // namespace tarvel
