// The charts of a run.
#pragma once

#include <cstdint>

#include "chart/chart.h"
#include "support/memory.h"
#include "swoop/swoop.h"
#include "track/course.h"

namespace tarvel {

// The data of all charts of a document.
struct chart_context {
  const swoop &run;
  const pond_outline *pond = nullptr;  // in the run's frame; null without a pond
  bool metric = false;
  bool from_exit = false;  // draw from the exit instead of the top of the turn
};

[[nodiscard]] inline std::uint32_t first_sample(const chart_context &context) {
  return context.from_exit ? context.run.plane_exit : context.run.top_of_turn;
}

// Each returns a new chart, or null when memory is short.

// Over time, top of turn to stop: the logger's accuracies and satellites.
[[nodiscard]] owned_record<chart> build_gps_accuracy_chart(const chart_context &context);
// Over height, top of turn to bottom of turn.
[[nodiscard]] owned_record<chart> build_dive_angle_chart(const chart_context &context);
[[nodiscard]] owned_record<chart> build_dive_speed_chart(const chart_context &context);
[[nodiscard]] owned_record<chart> build_heading_chart(const chart_context &context);
[[nodiscard]] owned_record<chart> build_turn_rate_chart(const chart_context &context);
// Top of turn to stop: in plan with the course and the pond, and from the side.
[[nodiscard]] owned_record<chart> build_overhead_chart(const chart_context &context);
[[nodiscard]] owned_record<chart> build_side_view_chart(const chart_context &context);
// Over the distance from the gate, to the stop, with the gates and the touchdown.
[[nodiscard]] owned_record<chart> build_swoop_speed_chart(const chart_context &context);

}  // namespace tarvel
