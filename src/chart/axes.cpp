#include "chart/axes.h"

#include <algorithm>
#include <cmath>

#include "support/integer.h"

namespace tarvel {

namespace {

constexpr std::uint32_t wanted_ticks = 10;
constexpr double default_span = 100.0;
constexpr double margin = 0.02;             // share of the span, on each side
constexpr double most_half_steps = 1000.0;  // a fixed step that gives more is not used
constexpr double flat_ticks = 1.2;          // y ticks of a wide, flat chart may be closer by this factor
// Limits for coordinates and steps, so that no span overflows when it is multiplied or divided by a page's size: 2 *
// 5e304 and two margins, times 1200 pixels, is 1.3e308.
constexpr double largest_coordinate = 5e304;
constexpr double smallest_step = 1e-304;

bool is_shown(vec2 point) {
  return std::fabs(point.x) <= largest_coordinate && std::fabs(point.y) <= largest_coordinate;
}

// The least and greatest coordinates that are shown.
void find_ranges(const chart &source, axis &x, axis &y) {
  bool is_first = true;
  for (const series *curve = source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    for (const vec2 point : points_of(*curve)) {
      if (!is_shown(point)) continue;
      if (is_first) {
        x.min = x.max = point.x;
        y.min = y.max = point.y;
        is_first = false;
      }
      x.min = std::min(x.min, point.x);
      x.max = std::max(x.max, point.x);
      y.min = std::min(y.min, point.y);
      y.max = std::max(y.max, point.y);
    }
  }
}

double span_or_default(const axis &range) {
  const double span = range.max - range.min;
  return span == 0.0 ? default_span : span;
}

// At least one, also for a chart that is so flat that count is less.
std::uint32_t tick_count(double count) { return std::max(std::uint32_t{1}, truncate_to_uint32(count)); }

double choose_step(double fixed_step, std::uint32_t count, double span) {
  const bool is_usable = fixed_step != 0.0 && !(span / (fixed_step / 2.0) > most_half_steps);
  return is_usable ? fixed_step : nice_step(count, span);
}

void widen(axis &range, double span) {
  range.min -= margin * span;
  range.max += margin * span;
  range.min = std::floor(range.min / (range.step / 2.0)) * range.step / 2.0;
  range.max = std::ceil(range.max / (range.step / 2.0)) * range.step / 2.0;
}

// Widens a range that is still empty: the margin was lost in rounding, since the coordinates are very large.
void widen_empty_range(axis &range, const axis &found, std::uint32_t count) {
  if (range.min < range.max) return;
  const double room = std::max({1.0, std::fabs(found.min) * margin, std::fabs(found.max) * margin});
  range.min = found.min - room;
  range.max = found.max + room;
  range.step = nice_step(count, range.max - range.min);
}

}  // namespace

double nice_step(std::uint32_t count, double range) {
  const double divisor = count == 0 ? 1.0 : static_cast<double>(count);
  double r = range / divisor;
  if (!(r >= smallest_step) || !std::isfinite(r)) r = default_span / divisor;

  int e = 0;
  for (; r > 10.0; ++e) r = r / 10.0;
  for (; r <= 1.0; --e) r = r * 10.0;
  double step = 10.0;
  if (r < 2.0) {
    step = 2.0;
  } else if (r < 2.5) {
    step = 2.5;
  } else if (r < 5.0) {
    step = 5.0;
  }
  for (; e > 0; --e) step = step * 10.0;
  for (; e < 0; ++e) step = step / 10.0;
  return step;
}

chart_axes find_axes(const chart &source) {
  chart_axes axes;
  find_ranges(source, axes.x, axes.y);
  const chart_axes found = axes;
  const double dx = span_or_default(axes.x);
  const double dy = span_or_default(axes.y);

  std::uint32_t x_count = wanted_ticks;
  std::uint32_t y_count = wanted_ticks;
  if (source.equal_scale) {
    if (dx / dy > 1.0) {
      y_count = tick_count(wanted_ticks * dy * flat_ticks / dx);
    } else {
      x_count = tick_count(wanted_ticks * dx / dy);
    }
  }
  axes.x.step = choose_step(source.x_step, x_count, dx);
  axes.y.step = choose_step(source.y_step, y_count, dy);
  widen(axes.x, dx);
  widen(axes.y, dy);
  widen_empty_range(axes.x, found.x, x_count);
  widen_empty_range(axes.y, found.y, y_count);
  return axes;
}

}  // namespace tarvel
