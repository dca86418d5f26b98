#include "split/part.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "container/tvl_file.h"
#include "support/format_text.h"

namespace tarvel {

namespace {

bool copy_range(std::FILE *from, std::uint64_t first, std::uint64_t end, std::FILE *to) {
  std::array<char, 65536> block;
  if (fseeko(from, static_cast<off_t>(first), SEEK_SET) != 0) return false;
  while (first < end) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(end - first, block.size()));
    const std::size_t count = std::fread(block.data(), 1, wanted, from);
    if (count == 0) return false;
    // A write that fails is seen when the file is closed.
    std::fwrite(block.data(), 1, count, to);
    first += count;
  }
  return true;
}

// One past the last byte, or a negative number.
std::int64_t size_of(std::FILE *stream) { return fseeko(stream, 0, SEEK_END) == 0 ? ftello(stream) : -1; }

void write_rows(const split_source &source, sample_range range, std::FILE *file, error_slot *error) {
  const std::int64_t size = size_of(source.stream);
  bool is_copied = size >= 0;
  if (is_copied) {
    const std::uint64_t end =
        range.end < source.rows.size() ? source.rows[range.end] : static_cast<std::uint64_t>(size);
    is_copied = copy_range(source.stream, 0, source.rows[0], file) &&
                copy_range(source.stream, source.rows[range.first], end, file);
  }
  if (!is_copied) *error = format_error("failed to read file: %s", source.path);
}

}  // namespace

owned_text part_name(const char *path, unsigned number) {
  const char *const slash = std::strrchr(path, '/');
  const char *const base = slash != nullptr ? slash + 1 : path;
  const char *const dot = std::strrchr(base, '.');
  const char *const extension = dot != nullptr && dot != base ? dot : base + std::strlen(base);
  return format_text("%.*s-%u%s", static_cast<int>(extension - path), path, number, extension);
}

void write_part(const split_source &source, const stretch &part, std::FILE *file, error_slot *error) {
  *error = nullptr;
  if (!source.rows.empty()) return write_rows(source, part.samples, file, error);
  const sample_range range = part.samples;
  write_swoop_stream(file, source.samples.subspan(range.first, range.end - range.first), error);
}

}  // namespace tarvel
