#include "chart/chart.h"

#include <cstring>
#include <utility>

namespace tarvel {

// One after the other: a chain of a hundred thousand series would overflow the stack if each freed its successor.
series::~series() {
  owned_record<series> rest = std::move(next);
  while (rest) rest = std::move(rest->next);
}

owned_record<chart> chart_new() { return try_make<chart>(); }

owned_record<series> series_new(std::uint32_t capacity) {
  owned_record<series> curve = try_make<series>();
  if (!curve || !try_resize(curve->points, capacity)) return nullptr;
  curve->capacity = capacity;
  return curve;
}

bool series_add_point(series &curve, vec2 point) {
  return try_append(curve.points, curve.count, curve.capacity, 1, point);
}

void chart_add_series(chart &target, owned_record<series> curve) {
  owned_record<series> *tail = &target.first_series;
  while (*tail) tail = &(*tail)->next;
  *tail = std::move(curve);
}

namespace {

bool has_name(const series &curve, const char *name) { return curve.name && std::strcmp(curve.name.get(), name) == 0; }

series *find_marker(chart &target, const char *name) {
  for (series *curve = target.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    if (curve->style == series_style::star && has_name(*curve, name)) return curve;
  }
  return nullptr;
}

owned_record<series> make_marker(const char *name) {
  owned_record<series> marker = series_new(1);
  if (!marker) return nullptr;
  marker->style = series_style::star;
  marker->colour = marker_colour;
  marker->name = try_duplicate(name);
  if (!marker->name) return nullptr;
  return marker;
}

}  // namespace

bool chart_set_marker(chart &target, const char *name, const vec2 *point) {
  series *marker = find_marker(target, name);
  if (marker == nullptr) {
    owned_record<series> made = make_marker(name);
    if (!made) return false;
    chart_add_series(target, std::move(made));
    marker = find_marker(target, name);
  }
  marker->count = 0;
  // The room for one point is there since the marker was made.
  return point == nullptr || series_add_point(*marker, *point);
}

void chart_remove_series(chart &target, const char *name) {
  owned_record<series> *link = &target.first_series;
  while (*link) {
    if (has_name(**link, name)) {
      owned_record<series> removed = std::move(*link);
      *link = std::move(removed->next);
    } else {
      link = &(*link)->next;
    }
  }
}

}  // namespace tarvel
