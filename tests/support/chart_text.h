// Charts as text, so that a test states a whole chart by value.
#pragma once

#include <cstdio>
#include <string>

#include "chart/chart.h"

namespace tarvel {

[[nodiscard]] inline std::string text_of(const series &curve) {
  constexpr const char *styles[] = {"solid",       "thick dashed",    "thin dashed", "filled circle",
                                    "open circle", "solid with dots", "star"};
  char words[80];
  std::snprintf(words, sizeof words, "%s %06x", styles[static_cast<std::uint32_t>(curve.style)], curve.colour);
  std::string text = words;
  if (curve.radius != 0.0) {
    std::snprintf(words, sizeof words, " radius %.9g", curve.radius);
    text += words;
  }
  if (curve.name) text += std::string(" of ") + curve.name.get();
  if (curve.label) text += std::string(" \"") + curve.label.get() + '"';
  text += ':';
  for (const vec2 point : points_of(curve)) {
    std::snprintf(words, sizeof words, " (%.9g, %.9g)", point.x, point.y);
    text += words;
  }
  return text + '\n';
}

[[nodiscard]] inline std::string series_text(const chart &source) {
  std::string text;
  for (const series *curve = source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    text += text_of(*curve);
  }
  return text;
}

// "title | x title | y title | hints".
[[nodiscard]] inline std::string heading_text(const chart &source) {
  std::string text =
      std::string(source.title.get()) + " | " + source.x_title.get() + " | " + source.y_title.get() + " |";
  if (source.reverse_x) text += " reverse_x";
  if (source.reverse_y) text += " reverse_y";
  if (source.equal_scale) text += " equal_scale";
  if (source.legend_right != 0) text += " legend_right";
  char words[80];
  std::snprintf(words, sizeof words, " steps %g, %g\n", source.x_step, source.y_step);
  return text + words;
}

[[nodiscard]] inline std::string text_of(const chart &source) { return heading_text(source) + series_text(source); }

}  // namespace tarvel
