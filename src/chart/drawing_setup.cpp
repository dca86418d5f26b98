#include "chart/drawing_setup.h"

#include <fontconfig/fontconfig.h>
#include <malloc.h>

#include <memory>

#include "driver/memory.h"

namespace tarvel {

namespace {

// Measured: 40 MB for fonts, the threads that read them and two pages without curves; 2,100 bytes more for each sample
// that is drawn.
constexpr std::size_t bytes_of_pages = std::size_t{64} << 20;
constexpr std::size_t bytes_per_sample = 4096;

struct font_configuration_closer {
  void operator()(FcConfig *configuration) const noexcept { FcConfigDestroy(configuration); }
};
using font_configuration_handle = std::unique_ptr<FcConfig, font_configuration_closer>;

// Left to themselves, the libraries load it in a thread of theirs, again and again until there is memory for it.
bool load_font_configuration() {
  const font_configuration_handle loaded(FcInitLoadConfigAndFonts());
  return loaded && FcConfigSetCurrent(loaded.get()) == FcTrue;
}

}  // namespace

bool prepare_drawing(std::size_t samples) {
  // Their threads would each set aside 64 MB of addresses for themselves.
  mallopt(M_ARENA_MAX, 1);
  if (!has_room(bytes_of_pages, samples, bytes_per_sample)) return false;
  static const bool has_fonts = load_font_configuration();
  return has_fonts;
}

}  // namespace tarvel
