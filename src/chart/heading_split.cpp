#include "chart/heading_split.h"

#include <cmath>
#include <utility>

namespace tarvel {

namespace {

bool matches(vec2 point, const gps_point &sample) {
  double folded = std::fmod(point.y, 360.0);
  if (folded < 0.0) folded += 360.0;
  return !(std::fabs(folded - sample.heading) > 1e-5);
}

// The first point after `from` whose state differs from the given one, or the number of points.
std::size_t end_of_stretch(std::span<const vec2> points, std::span<const gps_point> samples, std::size_t from,
                           bool state) {
  std::size_t i = from + 1;
  while (i < points.size() && matches(points[i], samples[i]) == state) ++i;
  return i;
}

owned_record<series> make_stretch(const series &whole, std::span<const vec2> points, series_style style) {
  owned_record<series> stretch = series_new(static_cast<std::uint32_t>(points.size()));
  if (!stretch) return nullptr;
  stretch->style = style;
  stretch->colour = red;
  if (whole.name) {
    stretch->name = try_duplicate(whole.name.get());
    if (!stretch->name) return nullptr;
  }
  for (const vec2 point : points) {
    if (!series_add_point(*stretch, point)) return nullptr;
  }
  return stretch;
}

}  // namespace

bool split_heading_series(series &curve, std::span<const gps_point> samples, std::size_t first) {
  // A view of all points: the series' count is reduced below, but its array stays.
  const std::span<const vec2> points = points_of(curve);
  if (first >= points.size()) return true;

  bool is_match = matches(points[first], samples[first]);
  if (!is_match) curve.style = series_style::thin_dashed;
  std::size_t next = end_of_stretch(points, samples, first, is_match);
  if (next == points.size()) return true;
  curve.count = static_cast<std::uint32_t>(is_match ? next : next + 1);

  series *last = &curve;
  while (next < points.size()) {
    const std::size_t from = next;
    const std::size_t begin = is_match ? next - 1 : next;
    is_match = !is_match;
    next = end_of_stretch(points, samples, from, is_match);
    const std::size_t end = is_match || next == points.size() ? next : next + 1;
    owned_record<series> stretch = make_stretch(curve, points.subspan(begin, end - begin),
                                                is_match ? series_style::solid : series_style::thin_dashed);
    if (!stretch) return false;
    stretch->next = std::move(last->next);
    last->next = std::move(stretch);
    last = last->next.get();
  }
  return true;
}

}  // namespace tarvel
