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

// By the number of the style.
constexpr const char *style_names[] = {"solid",       "thick_dashed",    "thin_dashed", "filled_circle",
                                       "open_circle", "solid_with_dots", "star"};

json colour_as_json(std::uint32_t colour) {
  char text[16];
  std::snprintf(text, sizeof text, "#%06x", static_cast<unsigned>(colour));
  return text;
}

json series_as_json(const series &curve) {
  const std::span<const vec2> points = points_of(curve);
  json made = json::object();
  made["style"] = style_names[static_cast<std::uint32_t>(curve.style)];
  made["colour"] = colour_as_json(curve.colour);
  made["radius"] = curve.radius > 0.0 ? json_thousandths(curve.radius) : json();
  made["label"] = json_text(curve.label.get());
  made["x"] = json_column(points, [](const vec2 &point) { return json_thousandths(point.x); });
  made["y"] = json_column(points, [](const vec2 &point) { return json_thousandths(point.y); });
  return made;
}

json axis_as_json(const owned_text &title, bool is_reversed, double step) {
  return {{"title", json_text(title.get())}, {"reversed", is_reversed}, {"step", step > 0.0 ? json(step) : json()}};
}

json chart_as_json(const chart &source) {
  json made = json::object();
  made["title"] = json_text(source.title.get());
  made["x_axis"] = axis_as_json(source.x_title, source.reverse_x, source.x_step);
  made["y_axis"] = axis_as_json(source.y_title, source.reverse_y, source.y_step);
  made["equal_scale"] = source.equal_scale;
  made["legend"] = source.legend_right != 0 ? "right" : "left";
  json::array_t curves;
  for (const series *curve = source.first_series.get(); curve != nullptr; curve = curve->next.get()) {
    curves.push_back(series_as_json(*curve));
  }
  made["series"] = std::move(curves);
  return made;
}

}  // namespace

json charts_as_json(const chart_context &context, error_slot *error) {
  json charts = json::object();
  for (const named_chart &named : named_charts) {
    const owned_record<chart> built = named.build(context);
    if (!built) {
      *error = "failed to allocate memory for charts";
      return json();
    }
    charts[named.name] = chart_as_json(*built);
  }
  return charts;
}

}  // namespace tarvel
