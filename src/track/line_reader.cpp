#include "track/line_reader.h"

#include <algorithm>
#include <cstring>

namespace tarvel {

namespace {

constexpr std::uint32_t track_block_size = 32768;

// Moves the scanned part of the line to the start of the block and fills the rest from the file. False when the line
// already fills the block. At the end of the file, end equals cursor afterwards.
bool refill(track_file &file) {
  char *const block = file.block_ptr.get();
  const auto scanned = static_cast<std::size_t>(file.cursor - file.line);
  if (scanned == file.block_size) {
    file.overflow = 1;
    return false;
  }
  std::memmove(block, file.line, scanned);
  file.line = block;
  file.cursor = block + scanned;
  const std::size_t count = std::fread(file.cursor, 1, file.block_size - scanned, file.stream);
  file.end = file.cursor + count;
  file.read += count;
  return true;
}

// The first line end in [first, last), or last. Searches in short windows: otherwise, in a block with only one kind of
// line end, each search for the other kind would run through the whole block.
char *find_line_end(char *first, char *last) {
  constexpr std::ptrdiff_t window = 256;
  while (first != last) {
    const auto size = static_cast<std::size_t>(std::min(window, last - first));
    void *const lf = std::memchr(first, '\n', size);
    const std::size_t before_lf = lf != nullptr ? static_cast<std::size_t>(static_cast<char *>(lf) - first) : size;
    void *const cr = std::memchr(first, '\r', before_lf);
    if (cr != nullptr) return static_cast<char *>(cr);
    if (lf != nullptr) return static_cast<char *>(lf);
    first += size;
  }
  return last;
}

}  // namespace

bool open_track_stream(std::FILE *stream, track_file &file, error_slot *error) {
  file.stream = stream;
  file.block_size = track_block_size;
  if (!try_resize(file.block_ptr, track_block_size)) {
    *error = "failed to malloc file.block_ptr";
    return false;
  }
  file.line = file.cursor = file.end = file.block_ptr.get();
  file.read = 0;
  file.overflow = 0;
  return true;
}

bool read_line(track_file &file) {
  file.line = file.cursor;
  bool has_cr = false;
  bool has_lf = false;
  for (;;) {
    if (file.cursor == file.end) {
      if (!refill(file)) return false;
      if (file.cursor == file.end) {
        *file.cursor = '\0';
        return file.cursor != file.line;
      }
    }
    if (!has_cr && !has_lf) file.cursor = find_line_end(file.cursor, file.end);
    if (file.cursor == file.end) continue;

    // A second line end of the same kind, or any other byte after a line end, belongs to the next line.
    bool &has_this = *file.cursor == '\n' ? has_lf : has_cr;
    const bool is_line_end = *file.cursor == '\n' || *file.cursor == '\r';
    if (!is_line_end || has_this) return true;
    has_this = true;
    *file.cursor++ = '\0';
  }
}

std::string_view next_field(track_file &file) {
  if (*file.line == '\0') return {};
  char *const field = file.line;
  char *const field_end = strchrnul(field, ',');
  file.line = field_end;
  if (*field_end == ',') {
    *field_end = '\0';
    ++file.line;
  }
  return {field, static_cast<std::size_t>(field_end - field)};
}

}  // namespace tarvel
