// Rows per second of each reader, from memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "container/tvl_file.h"
#include "driver/file_handle.h"
#include "simulated_files.h"
#include "support/warnings.h"
#include "track/delimited_reader.h"

namespace tarvel {
namespace {

using stream_reader = outcome (*)(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

outcome read_container_stream(std::FILE *stream, gps_track &track, text_buffer &, error_slot *error) {
  return read_swoop_stream(stream, track, error);
}

void read_repeatedly(benchmark::State &state, const std::string &bytes, stream_reader read) {
  std::int64_t rows = 0;
  warning_buffer warnings;
  for (auto round : state) {
    const file_handle stream(fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb"));
    gps_track track;
    error_slot error = nullptr;
    if (read(stream.get(), track, warnings, &error) != outcome::done) state.SkipWithError(error);
    rows += track.count;
  }
  state.SetItemsProcessed(rows);
}

void header_lines(benchmark::State &state) {
  const auto samples = static_cast<std::size_t>(state.range(0));
  read_repeatedly(state, track_text(track_form::header_lines, samples), read_track_header_csv_stream);
}

void tagged_lines(benchmark::State &state) {
  const auto samples = static_cast<std::size_t>(state.range(0));
  read_repeatedly(state, track_text(track_form::tagged_lines, samples), read_track_tagged_stream);
}

std::string container_bytes(std::size_t samples) {
  const std::string &text = track_text(track_form::header_lines, samples);
  const file_handle stream(fmemopen(const_cast<char *>(text.data()), text.size(), "rb"));
  gps_track track;
  warning_buffer warnings;
  error_slot error = nullptr;
  if (read_track_header_csv_stream(stream.get(), track, warnings, &error) != outcome::done) std::abort();
  std::string bytes(50 + 70 * samples, '\0');
  const file_handle container(fmemopen(bytes.data(), bytes.size(), "wb"));
  write_swoop_stream(container.get(), {track.points.get(), track.count}, &error);
  if (error || std::fflush(container.get()) != 0) std::abort();
  return bytes;
}

void container(benchmark::State &state) {
  read_repeatedly(state, container_bytes(static_cast<std::size_t>(state.range(0))), read_container_stream);
}

BENCHMARK(header_lines)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(tagged_lines)->Arg(20'000)->Unit(benchmark::kMillisecond);
BENCHMARK(container)->Arg(20'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvel
