#include "drawing/legend.h"

#include <algorithm>
#include <cstdint>

namespace tarvel {

namespace {

struct legend_size {
  std::uint32_t rows = 0;
  int text_width = 0;
};

legend_size measure_legend(const drawing &d) {
  legend_size size;
  for (const series *curve = d.source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    if (!curve->label) continue;
    ++size.rows;
    size.text_width = std::max(size.text_width, set_text(d, curve->label.get()).width);
  }
  return size;
}

// A short piece of the series' line, or a dot for a series of markers.
void draw_legend_sample(const drawing &d, const series &curve, double left, double middle, double length,
                        double dot_radius) {
  set_colour(d.cr, curve.colour);
  if (is_line(curve.style)) {
    set_solid(d.cr, 1.5 * d.layout.line_width);
    cairo_new_path(d.cr);
    draw_line(d.cr, left, middle, left + length, middle);
  } else {
    add_circle(d.cr, {left + length / 2.0, middle}, dot_radius);
    cairo_fill(d.cr);
  }
}

}  // namespace

void draw_legend(const drawing &d) {
  const legend_size size = measure_legend(d);
  if (size.rows == 0) return;

  const cell_layout &l = d.layout;
  const double row_height = l.round_px(1.2 * l.font_size);
  const double dot_radius = 3.0 * l.line_width;
  const double sample_length = l.round_px(6.0 * dot_radius);
  const double margin = l.round_px(0.25 * l.font_size);
  const double box_width = sample_length + margin + size.text_width;
  const double top = l.snap(l.plot_top) + l.snap(l.font_size);
  const double left = d.source.legend_right == 0 ? l.snap(l.plot_left) + l.snap(l.font_size)
                                                 : l.snap(right_of(l)) - l.snap(l.font_size) - box_width;
  cairo_set_source_rgb(d.cr, 0.96, 0.96, 0.96);
  cairo_new_path(d.cr);
  cairo_rectangle(d.cr, left - margin, top - margin, box_width + 2.0 * margin, size.rows * row_height + 2.0 * margin);
  cairo_fill(d.cr);

  std::uint32_t row = 0;
  for (const series *curve = d.source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    if (!curve->label) continue;
    const double row_top = top + row * row_height;
    const text_size label = set_text(d, curve->label.get());
    draw_legend_sample(d, *curve, left, row_top + l.round_px(0.5 * label.ink_height), sample_length, dot_radius);
    cairo_set_source_rgb(d.cr, 0.0, 0.0, 0.0);
    show_text(d, label, left + sample_length + margin, row_top);
    ++row;
  }
}

}  // namespace tarvel
