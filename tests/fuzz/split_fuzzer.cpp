// The jumps in a track. With an even first byte the rest is a file. With an odd one it is steps of eight bytes from one
// sample to the next, which give far more samples in as many bytes: time in 0.1 s and height in 0.1 m (two bytes each),
// speed down in 0.5 m/s, north and east in m/s, and position north in m. About one step in 256 makes a NaN.
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "loader/track_loader.h"
#include "split/stretches.h"

namespace {

using namespace tarvel;

stretch_list split(std::span<const gps_point> samples) {
  stretch_list list;
  error_slot error = nullptr;
  find_stretches(samples, list, &error);
  require(error == nullptr);
  std::uint32_t end = 0;
  std::uint32_t descents = 0;
  for (const stretch &part : stretches_of(list)) {
    require(part.samples.first == end && part.samples.end > end);
    end = part.samples.end;
    if (is_descent(part)) require(part.number == ++descents && part.exit < end);
  }
  require(end == samples.size());
  return list;
}

outcome load(const std::string &text, gps_track &track, row_offsets &rows) {
  const file_handle stream = open_fuzz_input(reinterpret_cast<const std::uint8_t *>(text.data()), text.size());
  warning_buffer warnings;
  error_slot error = nullptr;
  return load_swoop_rows(stream.get(), track, rows, warnings.buffer, &error);
}

// A track of the first lines and the rows of one stretch has the samples of that stretch.
void require_rows(const std::string &text, const gps_track &track, const row_offsets &rows, sample_range range) {
  const std::uint64_t end = range.end < rows.count ? rows.offsets[range.end] : text.size();
  const std::uint64_t first = rows.offsets[range.first];
  gps_track part;
  row_offsets part_rows;
  require(load(text.substr(0, rows.offsets[0]) + text.substr(first, end - first), part, part_rows) == outcome::done);
  require(part.count == range.end - range.first);
  require(part.points[0].time == track.points[range.first].time);
}

void split_file(const std::string &bytes) {
  gps_track track;
  row_offsets rows;
  if (load(bytes, track, rows) != outcome::done) return;
  const stretch_list list = split({track.points.get(), track.count});
  require(rows.count == 0 || rows.count == track.count);
  if (rows.count == 0) return;
  for (const stretch &part : stretches_of(list)) require_rows(bytes, track, rows, part.samples);
}

std::vector<gps_point> samples_in(const std::uint8_t *data, std::size_t size) {
  std::vector<gps_point> samples;
  gps_point sample;
  sample.pos_wgs84 = {48.5, 11.25, 420.0};
  sample.vacc = 1.0F;
  for (; size >= 8; data += 8, size -= 8) {
    std::int16_t numbers[2];
    std::memcpy(numbers, data, sizeof numbers);
    const auto small = [&](int i) { return static_cast<double>(std::bit_cast<std::int8_t>(data[i])); };
    sample.time += std::int64_t{numbers[0]} * 100;
    sample.pos_wgs84.z += numbers[1] / 10.0;
    sample.pos_wgs84.x += small(7) / 111195.0;
    sample.vel_ltp = {small(5), small(6), small(4) / 2.0};
    samples.push_back(sample);
    if (numbers[0] % 256 == 77) samples.back().pos_wgs84.z = samples.back().vel_ltp.x = std::nan("");
  }
  return samples;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  if (data[0] % 2 == 0) {
    split_file(std::string(reinterpret_cast<const char *>(data) + 1, size - 1));
  } else {
    split(samples_in(data + 1, size - 1));
  }
  return 0;
}
