#include "container/tvl_records.h"

#include <cstring>

namespace tarvel {

namespace {

template <typename T>
void store_as(void *target, std::uint64_t value) {
  const T narrow = static_cast<T>(value);
  std::memcpy(target, &narrow, sizeof narrow);
}

template <typename T>
std::uint64_t load_as(const void *source) {
  T narrow = 0;
  std::memcpy(&narrow, source, sizeof narrow);
  return narrow;
}

// Reads the fields of a record in file order. field_writer writes them; both go through the same walk function of the
// record, so that their orders cannot differ.
struct field_reader {
  const std::uint8_t *position;

  template <typename T>
  void operator()(T &field) {
    read_be(&field, position, sizeof field);
    position += sizeof field;
  }
};

struct field_writer {
  std::uint8_t *position;

  template <typename T>
  void operator()(const T &field) {
    write_be(position, &field, sizeof field);
    position += sizeof field;
  }
};

template <typename walker, typename record>
void walk_file_header(walker &&field, record &header) {
  for (auto &byte : header.magic) field(byte);
  field(header.header_size);
  field(header.table_offset);
  field(header.entry_size);
  field(header.section_count);
  field(header.reserved);
}

template <typename walker, typename record>
void walk_section_entry(walker &&field, record &entry) {
  field(entry.type);
  field(entry.section_offset);
  field(entry.section_size);
}

template <typename walker, typename record>
void walk_gate_header(walker &&field, record &header) {
  field(header.header_size);
  for (auto &row : header.matrix.m) {
    for (auto &element : row) field(element);
  }
  field(header.theta);
  field(header.sample_size);
  field(header.count);
}

template <typename walker, typename record>
void walk_swoop_header(walker &&field, record &header) {
  field(header.header_size);
  field(header.sample_size);
  field(header.count);
}

template <typename walker, typename record>
void walk_gate_sample(walker &&field, record &point) {
  field(point.x);
  field(point.y);
}

template <typename walker, typename record>
void walk_swoop_sample(walker &&field, record &point) {
  field(point.time);
  field(point.pos_wgs84.x);
  field(point.pos_wgs84.y);
  field(point.pos_wgs84.z);
  field(point.vel_ltp.x);
  field(point.vel_ltp.y);
  field(point.vel_ltp.z);
  field(point.hacc);
  field(point.vacc);
  field(point.sacc);
  field(point.gpsfix);
  field(point.numsv);
}

// Reads the whole record at once, so that a file that ends within it leaves the record unchanged.
template <std::size_t size, typename record>
bool read_record(std::FILE *stream, record &target, void (*walk)(field_reader &&, record &)) {
  std::array<std::uint8_t, size> bytes;
  if (std::fread(bytes.data(), size, 1, stream) != 1) return false;
  walk(field_reader{bytes.data()}, target);
  return true;
}

template <std::size_t size, typename record>
bool write_record(std::FILE *stream, const record &source, void (*walk)(field_writer &&, const record &)) {
  std::array<std::uint8_t, size> bytes;
  walk(field_writer{bytes.data()}, source);
  return std::fwrite(bytes.data(), size, 1, stream) == 1;
}

}  // namespace

void read_be(void *target, const std::uint8_t *bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
  switch (width) {
    case 1: return store_as<std::uint8_t>(target, value);
    case 2: return store_as<std::uint16_t>(target, value);
    case 4: return store_as<std::uint32_t>(target, value);
    default: return store_as<std::uint64_t>(target, value);
  }
}

void write_be(std::uint8_t *bytes, const void *source, std::size_t width) {
  std::uint64_t value = 0;
  switch (width) {
    case 1: value = load_as<std::uint8_t>(source); break;
    case 2: value = load_as<std::uint16_t>(source); break;
    case 4: value = load_as<std::uint32_t>(source); break;
    default: value = load_as<std::uint64_t>(source); break;
  }
  for (std::size_t i = width; i-- > 0;) {
    bytes[i] = static_cast<std::uint8_t>(value);
    value >>= 8;
  }
}

bool read_file_header(std::FILE *stream, tvl_file_header &header) {
  return read_record<tvl_file_header_size>(stream, header, walk_file_header<field_reader, tvl_file_header>);
}

bool read_section_entry(std::FILE *stream, tvl_section_entry &entry) {
  return read_record<tvl_section_entry_size>(stream, entry, walk_section_entry<field_reader, tvl_section_entry>);
}

bool read_gate_header(std::FILE *stream, tvl_gate_header &header) {
  return read_record<tvl_gate_header_size>(stream, header, walk_gate_header<field_reader, tvl_gate_header>);
}

bool read_swoop_header(std::FILE *stream, tvl_swoop_header &header) {
  return read_record<tvl_swoop_header_size>(stream, header, walk_swoop_header<field_reader, tvl_swoop_header>);
}

bool read_gate_sample(std::FILE *stream, vec3 &point) {
  return read_record<tvl_gate_sample_size>(stream, point, walk_gate_sample<field_reader, vec3>);
}

bool read_swoop_sample(std::FILE *stream, gps_point &point) {
  return read_record<tvl_swoop_sample_size>(stream, point, walk_swoop_sample<field_reader, gps_point>);
}

bool write_file_header(std::FILE *stream, const tvl_file_header &header) {
  return write_record<tvl_file_header_size>(stream, header, walk_file_header<field_writer, const tvl_file_header>);
}

bool write_section_entry(std::FILE *stream, const tvl_section_entry &entry) {
  return write_record<tvl_section_entry_size>(stream, entry, walk_section_entry<field_writer, const tvl_section_entry>);
}

bool write_gate_header(std::FILE *stream, const tvl_gate_header &header) {
  return write_record<tvl_gate_header_size>(stream, header, walk_gate_header<field_writer, const tvl_gate_header>);
}

bool write_swoop_header(std::FILE *stream, const tvl_swoop_header &header) {
  return write_record<tvl_swoop_header_size>(stream, header, walk_swoop_header<field_writer, const tvl_swoop_header>);
}

bool write_gate_sample(std::FILE *stream, const vec3 &point) {
  return write_record<tvl_gate_sample_size>(stream, point, walk_gate_sample<field_writer, const vec3>);
}

bool write_swoop_sample(std::FILE *stream, const gps_point &point) {
  return write_record<tvl_swoop_sample_size>(stream, point, walk_swoop_sample<field_writer, const gps_point>);
}

}  // namespace tarvel
