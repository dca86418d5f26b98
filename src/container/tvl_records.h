// The records of a .tvl file. Every integer is big-endian; floating-point fields are stored as the integer with their
// bit pattern; there is no padding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "geo/mat4.h"
#include "geo/vec3.h"
#include "track/gps_point.h"

namespace tarvel {

constexpr std::uint16_t tvl_file_header_size = 26;
constexpr std::uint16_t tvl_section_entry_size = 16;
constexpr std::uint16_t tvl_gate_header_size = 144;
constexpr std::uint16_t tvl_gate_sample_size = 16;
constexpr std::uint16_t tvl_swoop_header_size = 8;
constexpr std::uint16_t tvl_swoop_sample_size = 70;

constexpr std::uint32_t tvl_swoop_section = 1;
constexpr std::uint32_t tvl_gate_section = 2;

// Offset 0 of the file: magic at 0, header size at 4, table offset at 6, entry size at 14, section count at 16,
// 8 reserved bytes at 18.
struct tvl_file_header {
  std::array<std::uint8_t, 4> magic = {'u', 'T', 'V', 'L'};
  std::uint16_t header_size = tvl_file_header_size;
  std::uint64_t table_offset = tvl_file_header_size;
  std::uint16_t entry_size = tvl_section_entry_size;
  std::uint16_t section_count = 1;
  std::uint64_t reserved = 0;
};

// At the table offset: type at 0, section offset from the file's start at 4, section size in bytes at 12.
struct tvl_section_entry {
  std::uint32_t type = 0;
  std::uint64_t section_offset = tvl_file_header_size + tvl_section_entry_size;
  std::uint32_t section_size = 0;
};

// At the section offset: header size at 0, the ECEF-to-local matrix row by row at 2, theta at 130, sample size at 138,
// sample count at 140.
struct tvl_gate_header {
  std::uint16_t header_size = tvl_gate_header_size;
  mat4 matrix;
  double theta = 0.0;  // radians
  std::uint16_t sample_size = tvl_gate_sample_size;
  std::uint32_t count = 0;
};

// At the section offset: header size at 0, sample size at 2, sample count at 4.
struct tvl_swoop_header {
  std::uint16_t header_size = tvl_swoop_header_size;
  std::uint16_t sample_size = tvl_swoop_sample_size;
  std::uint32_t count = 0;
};

// Convert between a big-endian unsigned integer of 1, 2, 4 or 8 bytes and an object of that width and the same bits.
void read_be(void *target, const std::uint8_t *bytes, std::size_t width);
void write_be(std::uint8_t *bytes, const void *source, std::size_t width);

// Each reads or writes one record. False when the file ends within it or the write fails.
[[nodiscard]] bool read_file_header(std::FILE *stream, tvl_file_header &header);
[[nodiscard]] bool read_section_entry(std::FILE *stream, tvl_section_entry &entry);
[[nodiscard]] bool read_gate_header(std::FILE *stream, tvl_gate_header &header);
[[nodiscard]] bool read_swoop_header(std::FILE *stream, tvl_swoop_header &header);
// x and y of a pond point; z is unchanged.
[[nodiscard]] bool read_gate_sample(std::FILE *stream, vec3 &point);
// The measured fields of a sample; the derived ones are unchanged.
[[nodiscard]] bool read_swoop_sample(std::FILE *stream, gps_point &point);

[[nodiscard]] bool write_file_header(std::FILE *stream, const tvl_file_header &header);
[[nodiscard]] bool write_section_entry(std::FILE *stream, const tvl_section_entry &entry);
[[nodiscard]] bool write_gate_header(std::FILE *stream, const tvl_gate_header &header);
[[nodiscard]] bool write_swoop_header(std::FILE *stream, const tvl_swoop_header &header);
[[nodiscard]] bool write_gate_sample(std::FILE *stream, const vec3 &point);
[[nodiscard]] bool write_swoop_sample(std::FILE *stream, const gps_point &point);

}  // namespace tarvel
