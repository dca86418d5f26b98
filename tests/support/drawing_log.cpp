#include "support/drawing_log.h"

#include <cairo-pdf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "drawing/renderer.h"

namespace tarvel {

namespace {

std::vector<drawn_item> *current_log = nullptr;

std::string number(double value) {
  char words[40];
  // Half of 1/256, the resolution of cairo's paths.
  std::snprintf(words, sizeof words, "%.2f", value == 0.0 ? 0.0 : value);
  return std::string(words) == "-0.00" ? "0.00" : words;
}

std::string pair(vec2 point) { return number(point.x) + "," + number(point.y); }

std::uint32_t colour_of(cairo_t *cr) {
  double r = 0.0;
  double g = 0.0;
  double b = 0.0;
  double a = 0.0;
  cairo_pattern_get_rgba(cairo_get_source(cr), &r, &g, &b, &a);
  EXPECT_EQ(a, 1.0);
  const auto part = [](double value) { return static_cast<std::uint32_t>(std::lround(value * 255.0)); };
  return part(r) << 16 | part(g) << 8 | part(b);
}

double area_of(cairo_t *cr) {
  cairo_path_t *const path = cairo_copy_path_flat(cr);
  std::vector<vec2> points;
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    if (path->data[i].header.length > 1) points.push_back({path->data[i + 1].point.x, path->data[i + 1].point.y});
  }
  cairo_path_destroy(path);
  double twice = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const vec2 a = points[i];
    const vec2 b = points[(i + 1) % points.size()];
    twice += a.x * b.y - a.y * b.x;
  }
  return std::fabs(twice) / 2.0;
}

// A circle fills pi / 4 of its square, a star of four inward quarter arcs the rest of it.
void describe_curves(cairo_t *cr, drawn_shape &shape) {
  cairo_path_extents(cr, &shape.low.x, &shape.low.y, &shape.high.x, &shape.high.y);
  const double width = shape.high.x - shape.low.x;
  const vec2 middle = {(shape.low.x + shape.high.x) / 2.0, (shape.low.y + shape.high.y) / 2.0};
  const double part = area_of(cr) / (width * (shape.high.y - shape.low.y));
  const char *const kind = std::fabs(part - 0.785) < 0.03   ? "circle "
                           : std::fabs(part - 0.215) < 0.03 ? "star "
                                                            : "odd ";
  shape.path = kind + pair(middle) + " r " + number(width / 2.0);
}

drawn_shape take_path(cairo_t *cr, bool is_filled) {
  drawn_shape shape;
  shape.is_filled = is_filled;
  shape.colour = colour_of(cr);
  if (!is_filled) {
    shape.width = cairo_get_line_width(cr);
    shape.dash.resize(static_cast<std::size_t>(cairo_get_dash_count(cr)));
    cairo_get_dash(cr, shape.dash.data(), nullptr);
  }
  cairo_path_t *const path = cairo_copy_path(cr);
  int curves = 0;
  int lines = 0;
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    const cairo_path_data_t *const d = &path->data[i];
    if (d->header.type == CAIRO_PATH_CLOSE_PATH) {
      shape.path += " Z";
    } else if (d->header.type == CAIRO_PATH_CURVE_TO) {
      ++curves;
    } else {
      const vec2 point = {d[1].point.x, d[1].point.y};
      if (d->header.type == CAIRO_PATH_LINE_TO) ++lines;
      shape.points.push_back(point);
      // A rectangle is followed by the start of the next path.
      shape.path += (shape.path.empty() ? "" : " ") + std::string(d->header.type == CAIRO_PATH_MOVE_TO ? "M " : "L ") +
                    pair(point);
    }
  }
  cairo_path_destroy(path);
  const std::size_t closed = shape.path.find(" Z");
  if (closed != std::string::npos) shape.path.resize(closed + 2);
  if (curves > 0) {
    shape.is_round = true;
    describe_curves(cr, shape);
    // Lines join the arcs of a star along its axes; a circle has no lines.
    EXPECT_EQ(lines, shape.path.starts_with("star") ? 3 : 0) << shape.path;
  } else if (!shape.points.empty()) {
    shape.low = shape.high = shape.points[0];
    for (const vec2 p : shape.points) {
      shape.low = {std::min(shape.low.x, p.x), std::min(shape.low.y, p.y)};
      shape.high = {std::max(shape.high.x, p.x), std::max(shape.high.y, p.y)};
    }
  }
  return shape;
}

void log_shape(cairo_t *cr, bool is_filled) {
  if (current_log != nullptr) current_log->push_back({{take_path(cr, is_filled)}, {}});
  cairo_new_path(cr);
}

void log_word(cairo_t *cr, PangoLayout *layout) {
  if (current_log == nullptr) return;
  drawn_word word;
  PangoRectangle ink;
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout, &ink, &logical);
  cairo_get_current_point(cr, &word.left, &word.top);
  word.left += ink.x;
  word.top += ink.y;
  word.text = pango_layout_get_text(layout);
  word.width = logical.width;
  word.ink_height = ink.height;
  word.colour = colour_of(cr);
  char *const font = pango_font_description_to_string(pango_layout_get_font_description(layout));
  word.font = font;
  g_free(font);
  cairo_matrix_t matrix;
  cairo_get_matrix(cr, &matrix);
  word.is_upright = matrix.xy == 0.0;
  if (!word.is_upright) {
    EXPECT_NEAR(matrix.xx, 0.0, 1e-12);
    EXPECT_NEAR(matrix.yx, -1.0, 1e-12);  // its x runs upwards
  }
  current_log->push_back({{}, {word}});
}

}  // namespace

std::vector<drawn_item> draw_logged(const chart &source, page_kind kind, double width, double height,
                                    std::uint32_t cell) {
  const surface_handle surface(
      kind == page_kind::vector
          ? cairo_pdf_surface_create_for_stream(nullptr, nullptr, width, height)
          : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)));
  const context_handle context(cairo_create(surface.get()));
  std::vector<drawn_item> items;
  current_log = &items;
  draw_chart(context.get(), &source, cell);
  current_log = nullptr;
  EXPECT_EQ(cairo_status(context.get()), CAIRO_STATUS_SUCCESS);
  cairo_matrix_t matrix;
  cairo_get_matrix(context.get(), &matrix);
  EXPECT_EQ(matrix.xx, 1.0) << "the rotation stays";
  return items;
}

std::vector<drawn_shape> shapes_of(const std::vector<drawn_item> &items) {
  std::vector<drawn_shape> shapes;
  for (const drawn_item &item : items) shapes.insert(shapes.end(), item.shape.begin(), item.shape.end());
  return shapes;
}

std::vector<drawn_word> words_of(const std::vector<drawn_item> &items) {
  std::vector<drawn_word> words;
  for (const drawn_item &item : items) words.insert(words.end(), item.word.begin(), item.word.end());
  return words;
}

std::string golden_text(const std::vector<drawn_item> &items) {
  std::string text;
  char words[80];
  for (const drawn_item &item : items) {
    for (const drawn_word &word : item.word) {
      text += "word \"" + word.text + "\"" + (word.is_upright ? "" : " upwards") + '\n';
    }
    for (const drawn_shape &shape : item.shape) {
      std::snprintf(words, sizeof words, "%s %06x", shape.is_filled ? "fill" : "stroke", shape.colour);
      text += words;
      if (!shape.is_filled) text += " width " + number(shape.width);
      for (std::size_t i = 0; i < shape.dash.size(); ++i) text += (i == 0 ? " dash " : " ") + number(shape.dash[i]);
      text += ": " + shape.path + '\n';
    }
  }
  return text;
}

}  // namespace tarvel

extern "C" {
void cairo_stroke(cairo_t *cr) { tarvel::log_shape(cr, false); }
void cairo_fill(cairo_t *cr) { tarvel::log_shape(cr, true); }
void pango_cairo_show_layout(cairo_t *cr, PangoLayout *layout) { tarvel::log_word(cr, layout); }
}
