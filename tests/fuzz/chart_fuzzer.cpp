// A chart of arbitrary numbers. The first byte has the options: reversed axes, equal scale, the legend's corner, fixed
// steps, markers with a radius. Then come points of 17 bytes: one byte that starts a new series of some style or
// continues the last one, then x and y. When markers have a radius, the first x of each series is that radius, and the
// y is not used. Every chart must be drawn in bounded time and with a bounded number of axis labels.
#include <cairo-pdf.h>

#include <cmath>
#include <cstring>
#include <utility>

#include "chart/axes.h"
#include "chart/chart.h"
#include "drawing/drawing_handles.h"
#include "drawing/renderer.h"
#include "fuzz_input.h"
#include "support/format_text.h"

namespace {

using namespace tarvel;

constexpr std::size_t point_size = 17;
constexpr double most_half_steps = 1100.0;

vec2 read_numbers(const std::uint8_t *data) {
  vec2 numbers;
  std::memcpy(&numbers.x, data, sizeof numbers.x);
  std::memcpy(&numbers.y, data + sizeof numbers.x, sizeof numbers.y);
  return numbers;
}

owned_record<chart> read_chart(const std::uint8_t *data, std::size_t size) {
  owned_record<chart> made = chart_new();
  made->reverse_x = (data[0] & 1) != 0;
  made->reverse_y = (data[0] & 2) != 0;
  made->equal_scale = (data[0] & 4) != 0;
  made->legend_right = (data[0] & 8) != 0 ? 1 : 0;
  made->x_step = (data[0] & 16) != 0 ? 200.0 : 0.0;
  made->y_step = (data[0] & 32) != 0 ? 10.0 : 0.0;
  const bool has_radius = (data[0] & 64) != 0;
  made->title = format_text("title");
  series *last = nullptr;
  for (std::size_t at = 1; at + point_size <= size; at += point_size) {
    const vec2 numbers = read_numbers(data + at + 1);
    if (last == nullptr || (data[at] & 1) != 0) {
      owned_record<series> curve = series_new(1);
      curve->style = static_cast<series_style>((data[at] >> 1) % 7);
      curve->colour = data[at] * 0x010305U;
      if ((data[at] & 16) != 0) curve->label = format_text("label");
      last = curve.get();
      chart_add_series(*made, std::move(curve));
      if (has_radius) {
        last->radius = numbers.x;
        continue;
      }
    }
    require(series_add_point(*last, numbers));
  }
  return made;
}

void require_sound(const axis &range) {
  require(std::isfinite(range.min) && std::isfinite(range.max) && range.min < range.max);
  require(range.step > 0.0 && (range.max - range.min) / (range.step / 2.0) < most_half_steps);
}

void draw(const surface_handle &surface, const chart &source) {
  const context_handle context(cairo_create(surface.get()));
  draw_chart(context.get(), &source, 1);
}

cairo_status_t forget(void *, const unsigned char *, unsigned int) { return CAIRO_STATUS_SUCCESS; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  const owned_record<chart> source = read_chart(data, size);
  const chart_axes axes = find_axes(*source);
  require_sound(axes.x);
  require_sound(axes.y);
  draw(surface_handle(cairo_pdf_surface_create_for_stream(forget, nullptr, 792.0, 612.0)), *source);
  draw(surface_handle(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 120, 92)), *source);
  return 0;
}
