// Reads a text file through one block of memory and splits it into lines and comma-separated fields in place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// The state of a reader. Lines and fields point into the block and are valid until the next line is read.
struct track_file {
  std::FILE *stream = nullptr;
  std::uint32_t block_size = 0;
  owned_array<char> block_ptr;
  char *line = nullptr;       // the rest of the current line, NUL-terminated
  char *cursor = nullptr;     // scan position: the start of the next line
  char *end = nullptr;        // end of the valid data in the block
  std::uint64_t read = 0;     // bytes read from the stream so far
  std::uint8_t overflow = 0;  // set when a line did not fit in the block
};

// Prepares to read from an open stream, which must stay open while the reader is used. False with "failed to malloc
// file.block_ptr".
[[nodiscard]] bool open_track_stream(std::FILE *stream, track_file &file, error_slot *error);

// Reads the next line, without its terminator, which is '\n', '\r', or one of each in either order. The last line needs
// no terminator. False at the end of the file, and when a line with its terminator fills the block of 32768 bytes
// (overflow is then set). A NUL byte ends the text of its line.
[[nodiscard]] bool read_line(track_file &file);

// The offset of the current line, in bytes from the stream's position at open_track_stream. Call it before the first
// next_field of the line.
[[nodiscard]] inline std::uint64_t line_offset(const track_file &file) {
  return file.read - static_cast<std::uint64_t>(file.end - file.line);
}

// Takes the next field from the current line: the text up to the next comma or the end, followed by a NUL. Its data is
// null at the end of the line; no empty field follows a trailing comma.
[[nodiscard]] std::string_view next_field(track_file &file);

}  // namespace tarvel
