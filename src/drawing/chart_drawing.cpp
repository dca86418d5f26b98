#include "drawing/chart_drawing.h"

#include <array>

#include "geo/angle.h"

namespace tarvel {

double right_of(const cell_layout &layout) { return layout.plot_left + layout.plot_width; }
double bottom_of(const cell_layout &layout) { return layout.plot_top + layout.plot_height; }

layout_handle make_text_layout(cairo_t *cr, double font_size) {
  layout_handle text(pango_cairo_create_layout(cr));
  const font_handle font(pango_font_description_new());
  pango_font_description_set_family(font.get(), "arial");
  pango_font_description_set_absolute_size(font.get(), font_size * PANGO_SCALE);
  pango_layout_set_font_description(text.get(), font.get());
  return text;
}

text_size set_text(const drawing &d, const char *words) {
  pango_layout_set_text(d.text.get(), words, -1);
  PangoRectangle ink;
  PangoRectangle logical;
  pango_layout_get_pixel_extents(d.text.get(), &ink, &logical);
  return {ink.x, ink.y, logical.width, ink.height};
}

void show_text(const drawing &d, const text_size &size, double x, double y) {
  cairo_move_to(d.cr, x - size.ink_x, y - size.ink_y);
  pango_cairo_show_layout(d.cr, d.text.get());
}

void set_colour(cairo_t *cr, std::uint32_t colour) {
  cairo_set_source_rgb(cr, ((colour >> 16) & 0xff) / 255.0, ((colour >> 8) & 0xff) / 255.0, (colour & 0xff) / 255.0);
}

void set_solid(cairo_t *cr, double width) {
  cairo_set_line_width(cr, width);
  cairo_set_dash(cr, nullptr, 0, 0.0);
}

void set_dashed(cairo_t *cr, double width, double dash, double gap) {
  const std::array<double, 2> pattern = {dash, gap};
  cairo_set_line_width(cr, width);
  cairo_set_dash(cr, pattern.data(), static_cast<int>(pattern.size()), 0.0);
}

void draw_line(cairo_t *cr, double x1, double y1, double x2, double y2) {
  cairo_move_to(cr, x1, y1);
  cairo_line_to(cr, x2, y2);
  cairo_stroke(cr);
}

void add_circle(cairo_t *cr, vec2 centre, double radius) {
  cairo_new_path(cr);
  cairo_arc(cr, centre.x, centre.y, radius, 0.0, 2.0 * pi);
}

bool is_line(series_style style) {
  return style == series_style::solid || style == series_style::thick_dashed || style == series_style::thin_dashed ||
         style == series_style::solid_with_dots;
}

}  // namespace tarvel
