#include "chart/chart.h"

#include <utility>

namespace tarvel {

// Frees the following series in a loop: recursion over a hundred thousand of them would overflow the stack.
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

}  // namespace tarvel
