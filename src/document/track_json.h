// A track's samples as JSON.
#pragma once

#include <span>

#include "document/document_text.h"
#include "document/json_values.h"
#include "swoop/swoop.h"
#include "track/gps_track.h"

namespace tarvel {

// The greatest number of points in an overview. A track with more samples is divided into half as many slices, and of
// each the lowest and the highest sample are written, the earlier one first.
constexpr std::uint32_t overview_points = 4000;

// Appends time and height of the whole track.
void append_overview(document_text &text, std::span<const gps_point> samples);

// Appends the samples from 15 seconds before the turn to 5 seconds after the stop, in columns.
void append_samples(document_text &text, const swoop &run);

// The number of samples a second, from the median interval between samples; null when that is not positive.
[[nodiscard]] json rate_as_json(std::span<const gps_point> samples);

// The time on the logger's clock; null when the calendar cannot express it.
[[nodiscard]] json clock_as_json(std::int64_t time);

// Milliseconds since the track's first sample.
[[nodiscard]] json time_as_json(std::span<const gps_point> samples, std::int64_t time);

}  // namespace tarvel
