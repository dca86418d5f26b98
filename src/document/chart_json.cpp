#include "document/chart_json.h"

#include <cstdio>

namespace tarvel {

namespace {

struct named_chart {
  const char *name;
  owned_record<chart> (*build)(const chart_context &context);
};

// In the order of the pages.
constexpr named_chart named_charts[] = {
    {"overhead", build_overhead_chart},     {"side_view", build_side_view_chart},
    {"dive_speed", build_dive_speed_chart}, {"swoop_speed", build_swoop_speed_chart},
    {"dive_angle", build_dive_angle_chart}, {"gps_accuracy", build_gps_accuracy_chart},
    {"turn_rate", build_turn_rate_chart},   {"heading", build_heading_chart},
};

// Indexed by series_style.
constexpr const char *style_names[] = {"solid",       "thick_dashed",    "thin_dashed", "filled_circle",
                                       "open_circle", "solid_with_dots", "star"};

json colour_as_json(std::uint32_t colour) {
  char text[16];
  std::snprintf(text, sizeof text, "#%06x", static_cast<unsigned>(colour));
  return text;
}

void append_series(document_text &text, const series &curve) {
  const std::span<const vec2> points = points_of(curve);
  append(text, "{");
  append_member(text, "style", style_names[static_cast<std::uint32_t>(curve.style)]);
  append_member(text, "colour", colour_as_json(curve.colour));
  append_member(text, "radius", curve.radius > 0.0 ? json_thousandths(curve.radius) : json());
  append_member(text, "label", json_text(curve.label.get()));
  append_column(text, "x", append_thousandths, points, [](const vec2 &point) { return point.x; });
  append_column(text, "y", append_thousandths, points, [](const vec2 &point) { return point.y; });
  append(text, "}");
}

json axis_as_json(const owned_text &title, bool is_reversed, double step) {
  return {{"title", json_text(title.get())}, {"reversed", is_reversed}, {"step", step > 0.0 ? json(step) : json()}};
}

void append_chart(document_text &text, const chart &source) {
  append(text, "{");
  append_member(text, "title", json_text(source.title.get()));
  append_member(text, "x_axis", axis_as_json(source.x_title, source.reverse_x, source.x_step));
  append_member(text, "y_axis", axis_as_json(source.y_title, source.reverse_y, source.y_step));
  append_member(text, "equal_scale", source.equal_scale);
  append_member(text, "legend", source.legend_right != 0 ? "right" : "left");
  append_name(text, "series");
  append(text, "[");
  for (const series *curve = source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    append_separator(text);
    append_series(text, *curve);
  }
  append(text, "]}");
}

}  // namespace

void append_charts(document_text &text, const chart_context &context, error_slot *error) {
  append(text, "{");
  for (const named_chart &named : named_charts) {
    const owned_record<chart> built = named.build(context);
    if (!built) {
      *error = "failed to allocate memory for charts";
      return;
    }
    append_name(text, named.name);
    append_chart(text, *built);
  }
  append(text, "}");
}

}  // namespace tarvel
