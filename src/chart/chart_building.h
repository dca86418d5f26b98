// What the builders of charts have in common: every step may run out of memory, and then there is no chart.
#pragma once

#include <cstdint>

#include "chart/chart.h"
#include "chart/run_charts.h"
#include "support/memory.h"

namespace tarvel {

constexpr std::uint32_t track_series_capacity = 300;  // a minute of turn and swoop at 5 Hz

// Titles; null when memory is short.
[[nodiscard]] owned_record<chart> make_chart(owned_text title, owned_text x_title, owned_text y_title);

// Gives the series its looks, the run's name and a label (null for none), and appends it to the chart. False when
// memory is short.
[[nodiscard]] bool add_series(chart &target, owned_record<series> curve, series_style style, std::uint32_t colour,
                              owned_text label);

// A copy of the run's file name in the series. False when memory is short.
[[nodiscard]] bool name_after_run(series &curve, const swoop &run);

// One point per sample, point_of(sample). Null when memory is short.
template <typename conversion>
[[nodiscard]] owned_record<series> make_track_series(const swoop &run, sample_range range, conversion point_of) {
  owned_record<series> curve = series_new(track_series_capacity);
  if (!curve || !name_after_run(*curve, run)) return nullptr;
  for (const gps_point &sample : samples_of(run, range)) {
    if (!series_add_point(*curve, point_of(sample))) return nullptr;
  }
  return curve;
}

}  // namespace tarvel
