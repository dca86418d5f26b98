#include "container/tvl_file.h"

#include <algorithm>
#include <utility>

#include "container/tvl_records.h"

namespace tarvel {

namespace {

// What differs between the two kinds of section, messages included.
struct section_form {
  std::uint32_t type;
  std::uint16_t header_size;
  std::uint16_t sample_size;
  error_slot wrong_type;
  error_slot short_header;
  error_slot invalid_header;
  error_slot wrong_size;
  error_slot short_sample;
  error_slot unwritten_header;
  error_slot unwritten_sample;
};

struct gate_section {
  static constexpr section_form form = {
      .type = tvl_gate_section,
      .header_size = tvl_gate_header_size,
      .sample_size = tvl_gate_sample_size,
      .wrong_type = "not a gate section",
      .short_header = "failed to read gate header",
      .invalid_header = "invalid gate header",
      .wrong_size = "incorrect gate section size",
      .short_sample = "failed to read gate sample",
      .unwritten_header = "failed to write gate header",
      .unwritten_sample = "failed to write gate sample",
  };
  using header = tvl_gate_header;
  using sample = vec3;
  static constexpr auto read_header = read_gate_header;
  static constexpr auto read_sample = read_gate_sample;
  static constexpr auto write_header = write_gate_header;
  static constexpr auto write_sample = write_gate_sample;
};

struct swoop_section {
  static constexpr section_form form = {
      .type = tvl_swoop_section,
      .header_size = tvl_swoop_header_size,
      .sample_size = tvl_swoop_sample_size,
      .wrong_type = "not a swoop section",
      .short_header = "failed to read swoop header",
      .invalid_header = "invalid swoop header",
      .wrong_size = "incorrect swoop section size",
      .short_sample = "failed to read swoop sample",
      .unwritten_header = "failed to write swoop header",
      .unwritten_sample = "failed to write swoop sample",
  };
  using header = tvl_swoop_header;
  using sample = gps_point;
  static constexpr auto read_header = read_swoop_header;
  static constexpr auto read_sample = read_swoop_sample;
  static constexpr auto write_header = write_swoop_header;
  static constexpr auto write_sample = write_swoop_sample;
};

// After an I/O error the format of the stream is unknown.
outcome failed_reading(std::FILE *stream) {
  return std::ferror(stream) != 0 ? outcome::unreadable : outcome::not_this_form;
}

// False also when the offset is too large for the C library.
bool seek_to(std::FILE *stream, std::uint64_t offset) {
  return offset <= INT64_MAX && fseeko(stream, static_cast<off_t>(offset), SEEK_SET) == 0;
}

// Reads the file header and the section table, and leaves the stream at the start of the section.
void open_section(std::FILE *stream, const section_form &form, tvl_section_entry &entry, error_slot *error) {
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
  } else if (entry.type != form.type) {
    *error = form.wrong_type;
  } else if (!seek_to(stream, entry.section_offset)) {
    *error = form.short_header;
  }
}

// True when the rest of the file has that many bytes. Checked before memory is allocated for a count from the file.
bool has_bytes_left(std::FILE *stream, std::uint64_t bytes) {
  const off_t position = ftello(stream);
  if (position < 0 || fseeko(stream, 0, SEEK_END) != 0) return false;
  const off_t end = ftello(stream);
  return end >= position && static_cast<std::uint64_t>(end - position) >= bytes &&
         fseeko(stream, position, SEEK_SET) == 0;
}

template <typename section>
void read_header(std::FILE *stream, typename section::header &header, error_slot *error) {
  constexpr const section_form &form = section::form;
  tvl_section_entry entry;
  open_section(stream, form, entry, error);
  if (*error) return;
  if (!section::read_header(stream, header)) {
    *error = form.short_header;
  } else if (header.header_size != form.header_size || header.sample_size != form.sample_size) {
    *error = form.invalid_header;
  } else if (entry.section_size != std::uint64_t{form.sample_size} * header.count + form.header_size) {
    *error = form.wrong_size;
  } else if (!has_bytes_left(stream, std::uint64_t{form.sample_size} * header.count)) {
    *error = form.short_sample;
  }
}

template <typename section>
outcome read_section(std::FILE *stream, typename section::header &header,
                     owned_array<typename section::sample> &samples, error_slot *error) {
  *error = nullptr;
  read_header<section>(stream, header, error);
  if (*error) return failed_reading(stream);
  if (!try_zeroed(samples, header.count)) {
    *error = "malloc() failed";
    return outcome::no_memory;
  }
  for (std::uint32_t i = 0; i < header.count; ++i) {
    if (section::read_sample(stream, samples[i])) continue;
    *error = section::form.short_sample;
    return failed_reading(stream);
  }
  return outcome::done;
}

// Sets the header's count.
template <typename section>
void write_section(std::FILE *stream, typename section::header header,
                   std::span<const typename section::sample> samples, error_slot *error) {
  constexpr const section_form &form = section::form;
  *error = nullptr;
  header.count = static_cast<std::uint32_t>(samples.size());
  tvl_section_entry entry;
  entry.type = form.type;
  entry.section_size = form.header_size + form.sample_size * header.count;
  if (!write_file_header(stream, tvl_file_header())) {
    *error = "failed to write TVL header";
  } else if (!write_section_entry(stream, entry)) {
    *error = "failed to write section header table entry";
  } else if (!section::write_header(stream, header)) {
    *error = form.unwritten_header;
  } else if (!std::all_of(samples.begin(), samples.end(),
                          [&](const auto &sample) { return section::write_sample(stream, sample); })) {
    *error = form.unwritten_sample;
  }
}

}  // namespace

outcome read_gate_stream(std::FILE *stream, course &result, error_slot *error) {
  tvl_gate_header header;
  pond_outline pond;
  const outcome section = read_section<gate_section>(stream, header, pond.points, error);
  if (section != outcome::done) return section;
  pond.capacity = pond.count = header.count;
  cut_at_origin(pond);
  result.matrix = header.matrix;
  result.theta = header.theta;
  result.pond = std::move(pond);
  return outcome::done;
}

outcome read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error) {
  tvl_swoop_header header;
  gps_track loaded;
  const outcome section = read_section<swoop_section>(stream, header, loaded.points, error);
  if (section != outcome::done) return section;
  loaded.capacity = loaded.count = header.count;
  track = std::move(loaded);
  return outcome::done;
}

void write_gate_stream(std::FILE *stream, const course &surveyed, error_slot *error) {
  tvl_gate_header header;
  header.matrix = surveyed.matrix;
  header.theta = surveyed.theta;
  const std::span<const vec3> points = surveyed.pond ? points_before_origin(*surveyed.pond) : std::span<const vec3>();
  write_section<gate_section>(stream, header, points, error);
}

void write_swoop_stream(std::FILE *stream, std::span<const gps_point> samples, error_slot *error) {
  write_section<swoop_section>(stream, tvl_swoop_header(), samples, error);
}

}  // namespace tarvel
