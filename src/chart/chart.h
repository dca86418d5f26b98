// A chart as plain data: titles, settings of the axes and series of points. Stars and y axes that grow downwards are
// part of the model, though the pages use neither.
#pragma once

#include <cstdint>
#include <span>

#include "geo/vec3.h"
#include "support/memory.h"

namespace tarvel {

enum class series_style : std::uint32_t {
  solid = 0,            // polyline
  thick_dashed = 1,     // polyline
  thin_dashed = 2,      // polyline
  filled_circle = 3,    // at each point
  open_circle = 4,      // at each point
  solid_with_dots = 5,  // polyline with a dot at each point
  star = 6,             // at each point
};

// 0xRRGGBB.
constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t blue = 0x1010e0;
constexpr std::uint32_t green = 0x10b010;
constexpr std::uint32_t purple = 0x801080;

struct series {
  owned_record<series> next;
  series_style style = series_style::solid;
  std::uint32_t colour = 0;
  double radius = 0.0;  // of markers, in x data units; the style's default unless positive
  owned_text name;      // the run's file, or null; not drawn
  owned_text label;     // legend text; null keeps the series out of the legend
  owned_array<vec2> points;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;

  series() = default;
  ~series();
  series(const series &) = delete;
  series &operator=(const series &) = delete;
};

struct chart {
  owned_text title;
  owned_text x_title;
  owned_text y_title;
  bool reverse_x = false;          // grows from right to left
  bool reverse_y = false;          // grows downwards
  bool equal_scale = false;        // one data unit is as long on both axes
  std::uint32_t legend_right = 0;  // 0: legend in the top left corner, 1: top right
  double x_step = 0.0;             // between ticks, data units; 0 means automatic
  double y_step = 0.0;
  owned_record<series> first_series;  // in drawing order
};

[[nodiscard]] inline std::span<const vec2> points_of(const series &curve) { return {curve.points.get(), curve.count}; }

// Null when memory is short.
[[nodiscard]] owned_record<chart> chart_new();
// An empty series with room for that many points. Null when memory is short.
[[nodiscard]] owned_record<series> series_new(std::uint32_t capacity);

// Appends a point; a full capacity is doubled. False when memory is short; the series is then unchanged.
[[nodiscard]] bool series_add_point(series &curve, vec2 point);

// Appends a series, or a list of them, after the chart's last.
void chart_add_series(chart &target, owned_record<series> curve);

}  // namespace tarvel
