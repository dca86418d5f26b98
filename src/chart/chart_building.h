// Helpers for building charts. Each fails when memory is short.
#pragma once

#include <cstdint>

#include "chart/chart.h"
#include "chart/run_charts.h"
#include "support/memory.h"

namespace tarvel {

constexpr std::uint32_t track_series_capacity = 300;  // a minute of turn and swoop at 5 Hz

// A chart with these titles; null when memory is short, also for a title.
[[nodiscard]] owned_record<chart> make_chart(owned_text title, owned_text x_title, owned_text y_title);

// Sets the series' style, colour and label (null for none), and appends it to the chart. False when there is no series,
// since memory was short for it.
[[nodiscard]] bool add_series(chart &target, owned_record<series> curve, series_style style, std::uint32_t colour,
                              owned_text label);

// Copies the run's file name into the series. False when memory is short.
[[nodiscard]] bool name_after_run(series &curve, const swoop &run);

// A series with the point point_of(sample) for each sample. Null when memory is short.
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
