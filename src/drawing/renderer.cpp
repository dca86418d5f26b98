#include "drawing/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "chart/axes.h"
#include "drawing/cell_layout.h"
#include "drawing/chart_drawing.h"
#include "drawing/drawing_handles.h"
#include "drawing/legend.h"
#include "geo/angle.h"
#include "support/integer.h"

namespace tarvel {

namespace {

void draw_background(const drawing &d) {
  const cell_layout &l = d.layout;
  cairo_set_source_rgb(d.cr, 1.0, 1.0, 1.0);
  cairo_rectangle(d.cr, l.cell_x, l.cell_y, l.cell_width, l.cell_height);
  cairo_fill(d.cr);
}

void draw_frame(const drawing &d) {
  const cell_layout &l = d.layout;
  const double left = l.snap(l.plot_left);
  const double top = l.snap(l.plot_top);
  cairo_set_source_rgb(d.cr, 0.0, 0.0, 0.0);
  set_solid(d.cr, l.line_width);
  cairo_rectangle(d.cr, left, top, l.snap(right_of(l)) - left, l.snap(bottom_of(l)) - top);
  cairo_stroke(d.cr);
}

// True for whole multiples of the step, with a tolerance, since the values are rounded sums of half steps.
bool is_tick(double value, double step) {
  const double tolerance = step / 1024.0;
  const double remainder = std::fmod(value, step);
  return std::fabs(remainder) < tolerance || std::fabs(remainder - step) < tolerance;
}

struct tick {
  double value = 0.0;
  double fraction = 0.0;  // of the axis' length, from its minimum
  bool is_end = false;    // the frame has a line there
};

// Calls draw(tick) for every tick of an axis.
template <typename action>
void for_each_tick(const axis &range, action draw) {
  constexpr std::uint32_t most = 4096;  // far more than axes have
  const std::uint32_t n = std::min(most, truncate_to_uint32((range.max - range.min) / (range.step / 2.0)));
  for (std::uint32_t k = 0; k <= n; ++k) {
    const double value = k * range.step / 2.0 + range.min;
    if (!is_tick(value, range.step)) continue;
    draw(tick{value, n == 0 ? 0.0 : static_cast<double>(k) / n, k == 0 || k == n});
  }
}

text_size set_tick_text(const drawing &d, double value) {
  char words[15];
  std::snprintf(words, sizeof words, "%.4g", value);
  return set_text(d, words);
}

void set_grid_line(const drawing &d, double value) {
  const double width = d.layout.line_width;
  if (value == 0.0) {
    set_solid(d.cr, width);
  } else {
    const double dash = d.layout.ceil_px(width);
    set_dashed(d.cr, 0.5 * width, dash, 2.0 * dash);
  }
}

void draw_x_ticks(const drawing &d) {
  const cell_layout &l = d.layout;
  const double gap = l.snap(0.012 * l.cell_height);
  for_each_tick(d.axes.x, [&](const tick &t) {
    const double along = t.fraction * l.plot_width;
    const double x = d.source.reverse_x ? right_of(l) - along : l.plot_left + along;
    if (!t.is_end) {
      set_grid_line(d, t.value);
      draw_line(d.cr, l.snap(x), l.ceil_px(l.snap(l.plot_top)), l.snap(x), l.ceil_px(l.snap(bottom_of(l))));
    }
    const text_size size = set_tick_text(d, t.value);
    show_text(d, size, x - size.width / 2.0, bottom_of(l) + gap);
  });
}

void draw_y_ticks(const drawing &d) {
  const cell_layout &l = d.layout;
  const double gap = l.snap(0.012 * l.cell_height);
  for_each_tick(d.axes.y, [&](const tick &t) {
    const double along = t.fraction * l.plot_height;
    const double y = d.source.reverse_y ? l.plot_top + along : bottom_of(l) - along;
    if (!t.is_end) {
      set_grid_line(d, t.value);
      draw_line(d.cr, l.ceil_px(l.snap(l.plot_left)), l.snap(y), l.ceil_px(l.snap(right_of(l))), l.snap(y));
    }
    const text_size size = set_tick_text(d, t.value);
    show_text(d, size, l.plot_left - gap - size.width, y - size.ink_height / 2.0);
  });
}

void draw_horizontal_title(const drawing &d, const char *words, double top) {
  const cell_layout &l = d.layout;
  const text_size size = set_text(d, words);
  show_text(d, size, std::trunc(l.cell_x + l.cell_width / 2.0 - size.width / 2.0), std::trunc(top));
}

// The text reads upwards.
void draw_vertical_title(const drawing &d, const char *words) {
  const cell_layout &l = d.layout;
  const text_size size = set_text(d, words);
  const saved_context saved(d.cr);
  cairo_rotate(d.cr, -pi / 2.0);
  show_text(d, size, -(l.cell_y + l.cell_height / 2.0) - size.width / 2.0,
            std::trunc(l.plot_left - 0.092 * l.cell_width));
}

const char *words_of(const owned_text &text) { return text ? text.get() : ""; }

void draw_titles(const drawing &d) {
  const cell_layout &l = d.layout;
  cairo_set_source_rgb(d.cr, 0.0, 0.0, 0.0);
  draw_horizontal_title(d, words_of(d.source.title), l.cell_y + 0.03 * l.cell_height);
  draw_horizontal_title(d, words_of(d.source.x_title), bottom_of(l) + 0.0495 * l.cell_height);
  draw_vertical_title(d, words_of(d.source.y_title));
}

vec2 place(const drawing &d, vec2 point) {
  const cell_layout &l = d.layout;
  const double along_x = (point.x - d.axes.x.min) * d.x_scale;
  const double along_y = (point.y - d.axes.y.min) * d.y_scale;
  return {d.source.reverse_x ? right_of(l) - along_x : l.plot_left + along_x,
          d.source.reverse_y ? l.plot_top + along_y : bottom_of(l) - along_y};
}

// False for NaN, too.
bool is_in_cell(const cell_layout &l, vec2 position) {
  return position.x >= l.cell_x && position.x <= l.cell_x + l.cell_width && position.y >= l.cell_y &&
         position.y <= l.cell_y + l.cell_height;
}

// Calls draw(position) for every point of a curve that lies in the cell. The other points are left out, since the
// drawing library stores coordinates in 32 bits.
template <typename action>
void for_each_position(const drawing &d, const series &curve, action draw) {
  for (const vec2 point : points_of(curve)) {
    const vec2 position = place(d, point);
    if (is_in_cell(d.layout, position)) draw(position);
  }
}

void draw_polyline(const drawing &d, const series &curve) {
  cairo_new_path(d.cr);
  for_each_position(d, curve, [&](vec2 position) { cairo_line_to(d.cr, position.x, position.y); });
  cairo_stroke(d.cr);
}

void fill_circles(const drawing &d, const series &curve, double radius) {
  for_each_position(d, curve, [&](vec2 position) {
    add_circle(d.cr, position, radius);
    cairo_fill(d.cr);
  });
}

void stroke_circles(const drawing &d, const series &curve, double radius) {
  for_each_position(d, curve, [&](vec2 position) {
    add_circle(d.cr, position, radius);
    cairo_stroke(d.cr);
  });
}

// The outline is four quarter arcs that bend inwards between the star's tips.
void fill_stars(const drawing &d, const series &curve, double radius) {
  const double r = 2.0 * radius;
  for_each_position(d, curve, [&](vec2 p) {
    cairo_new_path(d.cr);
    cairo_arc(d.cr, p.x - r, p.y - r, r, 0.0, pi / 2.0);
    cairo_arc(d.cr, p.x + r, p.y - r, r, pi / 2.0, pi);
    cairo_arc(d.cr, p.x + r, p.y + r, r, pi, 3.0 * pi / 2.0);
    cairo_arc(d.cr, p.x - r, p.y + r, r, 3.0 * pi / 2.0, 2.0 * pi);
    cairo_fill(d.cr);
  });
}

// Limited to the size of the cell: the drawing library divides a larger circle into more arcs, and never finishes an
// infinite one.
double marker_radius(const drawing &d, const series &curve) {
  if (curve.radius > 0.0) return std::min(curve.radius * d.x_scale, d.layout.cell_width);
  switch (curve.style) {
    case series_style::solid_with_dots: return 1.7 * d.layout.line_width;
    case series_style::open_circle: return 2.0 * d.layout.line_width;
    default: return 3.0 * d.layout.line_width;
  }
}

void set_stroke(const drawing &d, series_style style) {
  const double width = d.layout.line_width;
  switch (style) {
    case series_style::thick_dashed: return set_dashed(d.cr, 2.0 * width, 2.0 * width, 2.0 * width);
    case series_style::thin_dashed: return set_dashed(d.cr, width, 3.0 * width, 6.0 * width);
    default: return set_solid(d.cr, width);
  }
}

void draw_series(const drawing &d, const series &curve) {
  const double radius = marker_radius(d, curve);
  set_colour(d.cr, curve.colour);
  set_stroke(d, curve.style);
  if (is_line(curve.style)) draw_polyline(d, curve);
  switch (curve.style) {
    case series_style::filled_circle:
    case series_style::solid_with_dots: return fill_circles(d, curve, radius);
    case series_style::open_circle: return stroke_circles(d, curve, radius);
    case series_style::star: return fill_stars(d, curve, radius);
    default: return;
  }
}

void draw_all_series(const drawing &d) {
  for (const series *curve = d.source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    draw_series(d, *curve);
  }
}

}  // namespace

void draw_chart(cairo_t *cr, const chart *source, std::uint32_t cell) {
  if (source == nullptr) return;
  drawing d = {cr, *source, find_axes(*source), lay_out_cell(cr, cell), nullptr};
  if (source->equal_scale) equalise_scale(d.layout, d.axes);
  d.x_scale = d.layout.plot_width / (d.axes.x.max - d.axes.x.min);
  d.y_scale = d.layout.plot_height / (d.axes.y.max - d.axes.y.min);
  d.text = make_text_layout(cr, d.layout.font_size);

  draw_background(d);
  draw_frame(d);
  draw_x_ticks(d);
  draw_y_ticks(d);
  draw_titles(d);
  draw_all_series(d);
  draw_legend(d);
}

bool has_readable_font(cairo_t *cr) {
  // The font of a text, which pango knows from the charts: for a description alone it would look for fonts anew.
  const layout_handle text = make_text_layout(cr, lay_out_cell(cr, 1).font_size);
  pango_layout_set_text(text.get(), "0", -1);
  const GSList *const runs = pango_layout_get_line_readonly(text.get(), 0)->runs;
  PangoFont *const font = runs != nullptr ? static_cast<PangoLayoutRun *>(runs->data)->item->analysis.font : nullptr;
  if (font == nullptr) return true;
  cairo_scaled_font_t *const letters = pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font));
  return letters != nullptr && cairo_scaled_font_status(letters) == CAIRO_STATUS_SUCCESS;
}

}  // namespace tarvel
