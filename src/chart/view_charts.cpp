#include <array>
#include <span>
#include <utility>

#include "chart/chart_building.h"
#include "chart/run_charts.h"
#include "geo/course_frame.h"
#include "support/format_text.h"
#include "support/units.h"

namespace tarvel {

namespace {

constexpr double pole_radius = 0.75;  // m

// The sport's straight course, metres: five gates 10 m wide, the last 50 m after the first, then the landing zone.
constexpr std::array<vec2, 10> straight_poles = {
    {{0, 5}, {0, -5}, {12, 5}, {12, -5}, {24, 5}, {24, -5}, {36, 5}, {36, -5}, {50, 5}, {50, -5}}};
constexpr std::array<vec2, 26> course_outline = {{{50, 5},  {50, -5}, {56, -5}, {56, 5},  {61, 5},  {61, -5}, {65, -5},
                                                  {65, 5},  {68, 5},  {68, -5}, {70, -5}, {70, 5},  {72, 5},  {72, -5},
                                                  {74, -5}, {74, 5},  {78, 5},  {78, -5}, {50, -5}, {50, 5},  {78, 5},
                                                  {72, 5},  {72, 1},  {70, 1},  {70, -1}, {72, -1}}};

constexpr std::uint32_t carve_gate_count = 5;

owned_text distance_title(const char *axis_name, const display_units &units) {
  return format_text("%s-axis distance from gate (%s)", axis_name, units.lengths);
}

bool add_scaled_points(series &curve, std::span<const vec2> points, double factor) {
  for (const vec2 point : points) {
    if (!series_add_point(curve, {point.x * factor, point.y * factor})) return false;
  }
  return true;
}

// The poles of five gates on the arc, on the side to which the run carved.
bool add_carve_poles(series &poles, const swoop &run, double factor) {
  for (std::uint32_t k = 0; k < carve_gate_count; ++k) {
    const double angle = k * carve_angle_degrees / (carve_gate_count - 1);
    const carve_gate gate = carve_gate_points(angle, carve_radius, carve_gate_width);
    const double side = run.carve_direction != carve_towards_minus_y ? factor : -factor;
    if (!series_add_point(poles, {gate.inner.x * factor, gate.inner.y * side}) ||
        !series_add_point(poles, {gate.outer.x * factor, gate.outer.y * side})) {
      return false;  // GCOVR_EXCL_LINE: the series has been made with room for all poles
    }
  }
  return true;
}

owned_record<series> make_poles(const swoop &run, double factor) {
  owned_record<series> poles = series_new(straight_poles.size());
  if (!poles) return nullptr;
  poles->radius = pole_radius * factor;
  const bool is_complete =
      run.carve_detected ? add_carve_poles(*poles, run, factor) : add_scaled_points(*poles, straight_poles, factor);
  return is_complete ? std::move(poles) : nullptr;
}

owned_record<series> make_outline(double factor) {
  owned_record<series> outline = series_new(course_outline.size());
  return outline && add_scaled_points(*outline, course_outline, factor) ? std::move(outline) : nullptr;
}

owned_record<series> make_pond(const pond_outline &pond, double factor) {
  owned_record<series> outline = series_new(track_series_capacity);
  if (!outline) return nullptr;
  for (const vec3 &point : points_of(pond)) {
    if (!series_add_point(*outline, {point.x * factor, point.y * factor})) return nullptr;
  }
  return outline;
}

bool add_course(chart &target, const chart_context &context, double factor) {
  const swoop &run = context.run;
  // A run without a course has no gates.
  if (run.gate_type == gate_type_implicit && context.pond == nullptr) return true;
  if (!add_series(target, make_poles(run, factor), series_style::open_circle, red, nullptr)) return false;
  return run.carve_detected || add_series(target, make_outline(factor), series_style::solid, red, nullptr);
}

template <typename conversion>
bool add_flight_path(chart &target, const chart_context &context, conversion point_of) {
  return add_series(target, make_track_series(context.run, {first_sample(context), context.run.stop + 1}, point_of),
                    series_style::solid_with_dots, red, nullptr);
}

}  // namespace

owned_record<chart> build_overhead_chart(const chart_context &context) {
  const display_units units = display_units_for(context.metric);
  const double length = units.length_factor;
  owned_record<chart> made =
      make_chart(format_text("overhead view of flight path"), distance_title("x", units), distance_title("y", units));
  if (!made) return nullptr;
  made->equal_scale = true;
  const bool is_complete = add_flight_path(*made, context,
                                           [&](const gps_point &s) {
                                             return vec2{s.pos_local.x * length, s.pos_local.y * length};
                                           }) &&
                           add_course(*made, context, length) &&
                           (context.pond == nullptr || add_series(*made, make_pond(*context.pond, length),
                                                                  series_style::thick_dashed, blue, nullptr));
  return is_complete ? std::move(made) : nullptr;
}

owned_record<chart> build_side_view_chart(const chart_context &context) {
  const display_units units = display_units_for(context.metric);
  const double length = units.length_factor;
  owned_record<chart> made = make_chart(format_text("side view of flight path"), distance_title("x", units),
                                        format_text("height (%s)", units.lengths));
  if (!made) return nullptr;
  made->equal_scale = true;
  const bool is_complete = add_flight_path(*made, context, [&](const gps_point &s) {
    return vec2{s.pos_local.x * length, s.pos_local.z * length};
  });
  return is_complete ? std::move(made) : nullptr;
}

}  // namespace tarvel
