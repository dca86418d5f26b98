#include "chart/drawing_setup.h"

#include <fontconfig/fontconfig.h>
#include <malloc.h>

#include <memory>

#include "driver/memory.h"

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

}  // namespace

bool prepare_drawing(std::uint32_t samples) {
  static bool has_fonts = false;
  // Their threads would each set aside 64 MB of addresses for themselves.
  mallopt(M_ARENA_MAX, 1);
  if (!has_room(drawing_room(samples))) return false;
  has_fonts = has_fonts || load_font_configuration();
  return has_fonts;
}

}  // namespace tarvel
