// Rows per second of each reader, from memory.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "container/tvl_file.h"
#include "driver/file_handle.h"
#include "simulated_files.h"
#include "track/delimited_reader.h"

namespace tarvel {
namespace {

using stream_reader = void (*)(std::FILE *stream, gps_track &track, error_slot *error);

void read_repeatedly(benchmark::State &state, const std::string &bytes, stream_reader read) {
  std::int64_t rows = 0;
  for (auto round : state) {
    const file_handle stream(fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb"));
    gps_track track;
    error_slot error = nullptr;
    read(stream.get(), track, &error);
    if (error) state.SkipWithError(error);
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
  const track_folder folder(samples);
  const file_handle text(std::fopen("track.csv", "rb"));
  gps_track track;
  error_slot error = nullptr;
  read_track_header_csv_stream(text.get(), track, &error);
  write_swoop_file("track.tvl", samples_of(track), &error);
  std::string bytes(50 + 70 * samples, '\0');
  const file_handle container(std::fopen("track.tvl", "rb"));
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), container.get()));
  return bytes;
}

void container(benchmark::State &state) {
  read_repeatedly(state, container_bytes(static_cast<std::size_t>(state.range(0))), read_swoop_stream);
}

BENCHMARK(header_lines)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(tagged_lines)->Arg(20'000)->Unit(benchmark::kMillisecond);
BENCHMARK(container)->Arg(20'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvel
