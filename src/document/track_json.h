// A track's samples as JSON.
#pragma once

#include <cstdint>
#include <span>

#include "document/document_text.h"
#include "document/json_values.h"
#include "swoop/swoop.h"
#include "track/gps_track.h"

namespace tarvel {

// The greatest number of points in an overview. A track with more samples is divided into half as many slices, and of
// each the lowest and the highest sample are written, the earlier one first.
constexpr std::uint32_t overview_points = 4000;
constexpr std::uint32_t overview_slices = overview_points / 2;

// The first sample of a slice of so many samples; of the slice after the last one, their number. The product of 64 bits
// is needed where std::size_t has 32, in WebAssembly.
[[nodiscard]] constexpr std::uint32_t first_of_slice(std::uint32_t count, std::uint32_t slice) {
  return static_cast<std::uint32_t>(std::uint64_t{count} * slice / overview_slices);
}

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
