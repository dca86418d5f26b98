#include "container/tvl_file.h"

#include <algorithm>

#include "container/tvl_records.h"

namespace tarvel {

namespace {

// What tells the two kinds of section apart, messages included.
struct section_words {
  std::uint32_t type;
  const char *wrong_type;
  const char *short_header;
};

constexpr section_words gate_words = {tvl_gate_section, "not a gate section", "failed to read gate header"};
constexpr section_words swoop_words = {tvl_swoop_section, "not a swoop section", "failed to read swoop header"};

// Bytes that cannot be read say nothing about their form.
outcome failed_reading(std::FILE *stream) {
  return std::ferror(stream) != 0 ? outcome::unreadable : outcome::not_this_form;
}

// False when the offset lies outside what the C library can seek to, as well.
bool seek_to(std::FILE *stream, std::uint64_t offset) {
  return offset <= INT64_MAX && fseeko(stream, static_cast<off_t>(offset), SEEK_SET) == 0;
}

// Leaves the stream at the section that the header and its table lead to.
void open_section(std::FILE *stream, const section_words &words, tvl_section_entry &entry, error_slot *error) {
  tvl_file_header header;
  const tvl_file_header expected;
  if (!read_file_header(stream, header)) {
    *error = "failed to read TVL header";
  } else if (header.magic != expected.magic || header.header_size != expected.header_size ||
             header.entry_size != expected.entry_size) {
    *error = "invalid TVL header";
  } else if (header.section_count != expected.section_count) {
    *error = "more/less than one section";
  } else if (!seek_to(stream, header.table_offset) || !read_section_entry(stream, entry)) {
    *error = "failed to read section header table entry";
  } else if (entry.type != words.type) {
    *error = words.wrong_type;
  } else if (!seek_to(stream, entry.section_offset)) {
    *error = words.short_header;
  }
}

// True when the rest of the file holds that many bytes, so that no memory follows a count that the file cannot fill.
bool has_bytes_left(std::FILE *stream, std::uint64_t bytes) {
  const off_t position = ftello(stream);
  if (position < 0 || fseeko(stream, 0, SEEK_END) != 0) return false;
  const off_t end = ftello(stream);
  return end >= position && static_cast<std::uint64_t>(end - position) >= bytes &&
         fseeko(stream, position, SEEK_SET) == 0;
}

outcome read_gate_samples(std::FILE *stream, std::uint32_t count, owned_array<vec3> &pond, error_slot *error) {
  // One more than the file holds: the last point stays zero and ends the list.
  if (!has_bytes_left(stream, std::uint64_t{tvl_gate_sample_size} * count)) {
    *error = "failed to read gate sample";
    return failed_reading(stream);
  }
  if (!try_zeroed(pond, std::size_t{count} + 1)) {
    *error = "malloc() failed";
    return outcome::no_memory;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    if (read_gate_sample(stream, pond[i])) continue;
    *error = "failed to read gate sample";
    return failed_reading(stream);
  }
  return outcome::done;
}

outcome read_swoop_samples(std::FILE *stream, std::uint32_t count, gps_track &track, error_slot *error) {
  if (!has_bytes_left(stream, std::uint64_t{tvl_swoop_sample_size} * count)) {
    *error = "failed to read swoop sample";
    return failed_reading(stream);
  }
  if (!try_zeroed(track.points, count)) {
    *error = "malloc() failed";
    return outcome::no_memory;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    if (read_swoop_sample(stream, track.points[i])) continue;
    *error = "failed to read swoop sample";
    return failed_reading(stream);
  }
  track.count = track.capacity = count;
  return outcome::done;
}

void write_section_start(std::FILE *stream, const tvl_section_entry &entry, error_slot *error) {
  if (!write_file_header(stream, tvl_file_header())) {
    *error = "failed to write TVL header";
  } else if (!write_section_entry(stream, entry)) {
    *error = "failed to write section header table entry";
  }
}

}  // namespace

std::span<const vec3> pond_points(const vec3 *pond) {
  if (pond == nullptr) return {};
  std::size_t count = 0;
  while (pond[count].x != 0.0 || pond[count].y != 0.0 || pond[count].z != 0.0) ++count;
  return {pond, count};
}

outcome read_gate_stream(std::FILE *stream, gate_file_data &gate_data, error_slot *error) {
  *error = nullptr;
  tvl_section_entry entry;
  open_section(stream, gate_words, entry, error);
  if (*error) return failed_reading(stream);

  tvl_gate_header header;
  if (!read_gate_header(stream, header)) {
    *error = gate_words.short_header;
  } else if (header.header_size != tvl_gate_header_size || header.sample_size != tvl_gate_sample_size) {
    *error = "invalid gate header";
  } else if (entry.section_size != std::uint64_t{tvl_gate_sample_size} * (std::uint64_t{header.count} + 9)) {
    *error = "incorrect gate section size";
  }
  if (*error) return failed_reading(stream);

  owned_array<vec3> pond;
  const outcome samples = read_gate_samples(stream, header.count, pond, error);
  if (samples != outcome::done) return samples;

  gate_data.matrix = header.matrix;
  gate_data.theta = header.theta;
  gate_data.pond = std::move(pond);
  return outcome::done;
}

outcome read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error) {
  *error = nullptr;
  tvl_section_entry entry;
  open_section(stream, swoop_words, entry, error);
  if (*error) return failed_reading(stream);

  tvl_swoop_header header;
  if (!read_swoop_header(stream, header)) {
    *error = swoop_words.short_header;
  } else if (header.header_size != tvl_swoop_header_size || header.sample_size != tvl_swoop_sample_size) {
    *error = "invalid swoop header";
  } else if (entry.section_size != std::uint64_t{tvl_swoop_sample_size} * header.count + tvl_swoop_header_size) {
    *error = "incorrect swoop section size";
  }
  if (*error) return failed_reading(stream);

  gps_track loaded;
  const outcome samples = read_swoop_samples(stream, header.count, loaded, error);
  if (samples == outcome::done) track = std::move(loaded);
  return samples;
}

void write_gate_stream(std::FILE *stream, const gate_file_data &gate_data, error_slot *error) {
  *error = nullptr;
  const std::span<const vec3> points = pond_points(gate_data.pond.get());
  const auto count = static_cast<std::uint32_t>(points.size());
  tvl_section_entry entry;
  entry.type = tvl_gate_section;
  entry.section_size = tvl_gate_header_size + tvl_gate_sample_size * count;
  write_section_start(stream, entry, error);
  if (*error) return;

  tvl_gate_header header;
  header.matrix = gate_data.matrix;
  header.theta = gate_data.theta;
  header.count = count;
  if (!write_gate_header(stream, header)) {
    *error = "failed to write gate header";
    return;
  }
  for (const vec3 &point : points) {
    if (!write_gate_sample(stream, point)) {
      *error = "failed to write gate sample";
      return;
    }
  }
}

void write_swoop_stream(std::FILE *stream, std::span<const gps_point> samples, error_slot *error) {
  *error = nullptr;
  const auto count = static_cast<std::uint32_t>(samples.size());
  tvl_section_entry entry;
  entry.type = tvl_swoop_section;
  entry.section_size = tvl_swoop_header_size + tvl_swoop_sample_size * count;
  write_section_start(stream, entry, error);
  if (*error) return;

  tvl_swoop_header header;
  header.count = count;
  if (!write_swoop_header(stream, header)) {
    *error = "failed to write swoop header";
    return;
  }
  for (const gps_point &sample : samples) {
    if (!write_swoop_sample(stream, sample)) {
      *error = "failed to write swoop sample";
      return;
    }
  }
}

}  // namespace tarvel
