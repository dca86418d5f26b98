// Reads a text file through one block, cutting lines and comma-separated fields in place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "support/error_slot.h"
#include "support/memory.h"

namespace tarvel {

// The reader state of one open file. Lines and fields point into the block and last until the next line is read.
struct track_file {
  std::FILE *stream = nullptr;
  std::uint32_t block_size = 0;
  owned_array<char> block_ptr;
  char *line = nullptr;       // the rest of the current line, NUL-terminated
  char *cursor = nullptr;     // scan position: the start of the next line
  char *end = nullptr;        // end of the valid data in the block
  std::uint64_t read = 0;     // bytes that the stream has given
  std::uint8_t overflow = 0;  // set when a line did not fit in the block
};

// Reads from an open stream, which must outlive the reader. False with "failed to malloc file.block_ptr".
[[nodiscard]] bool open_track_stream(std::FILE *stream, track_file &file, error_slot *error);

// Cuts the next line: its text without the terminator, which is '\n', '\r', or one of each in either order. A last line
// without a terminator counts. False at the end of the file, and when a line with its terminator fills the block of
// 32768 bytes (overflow is then set). A NUL byte ends the text of its line.
[[nodiscard]] bool read_line(track_file &file);

// Where the current line begins, in bytes from where the stream stood when it was opened. Only before its first field is
// cut off.
[[nodiscard]] inline std::uint64_t line_offset(const track_file &file) {
  return file.read - static_cast<std::uint64_t>(file.end - file.line);
}

// Cuts the next field off the current line, up to the next comma or the end; a NUL follows its text. Null data at the
// end of the line, which a trailing comma has reached.
[[nodiscard]] std::string_view next_field(track_file &file);

}  // namespace tarvel
