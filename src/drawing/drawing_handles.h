// Owners of cairo and pango objects.
#pragma once

#include <cairo.h>
#include <pango/pangocairo.h>

#include <memory>

namespace tarvel {

struct surface_closer {
  void operator()(cairo_surface_t *surface) const noexcept { cairo_surface_destroy(surface); }
};
using surface_handle = std::unique_ptr<cairo_surface_t, surface_closer>;

struct context_closer {
  void operator()(cairo_t *context) const noexcept { cairo_destroy(context); }
};
using context_handle = std::unique_ptr<cairo_t, context_closer>;

struct layout_closer {
  void operator()(PangoLayout *layout) const noexcept { g_object_unref(layout); }
};
using layout_handle = std::unique_ptr<PangoLayout, layout_closer>;

struct font_closer {
  void operator()(PangoFontDescription *font) const noexcept { pango_font_description_free(font); }
};
using font_handle = std::unique_ptr<PangoFontDescription, font_closer>;

// Pairs cairo_save with cairo_restore.
class saved_context {
 public:
  explicit saved_context(cairo_t *cr) : cr_(cr) { cairo_save(cr_); }
  ~saved_context() { cairo_restore(cr_); }
  saved_context(const saved_context &) = delete;
  saved_context &operator=(const saved_context &) = delete;

 private:
  cairo_t *cr_;
};

}  // namespace tarvel
