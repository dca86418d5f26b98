#include "split/part.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/files.h"

namespace tarvel {
namespace {

struct name_case {
  const char *path;
  const char *part;
};

const name_case name_cases[] = {
    {"day.csv", "day-2.csv"}, {"day", "day-2"},   {"x.y/day", "x.y/day-2"},
    {"x/.day", "x/.day-2"},   {".day", ".day-2"}, {"x/a.b.csv", "x/a.b-2.csv"},
};

TEST(part_test, puts_the_number_before_the_extension) {
  for (const name_case &c : name_cases) EXPECT_STREQ(part_name(c.path, 2).get(), c.part);
}

struct copied_part {
  std::string bytes;
  std::string error;
};

// Names, and three rows of two bytes.
const std::string track = "names\n1\n2\n3\n";
const std::vector<std::uint64_t> rows = {6, 8, 10};

copied_part part_of(const file_handle &stream, sample_range samples) {
  stretch part;
  part.samples = samples;
  copied_part copied;
  error_slot error = nullptr;
  copied.bytes = bytes_written_by([&](std::FILE *file) {
    write_part({"day.csv", stream.get(), {}, rows}, part, file, &error);
  });
  if (error != nullptr) copied.error = error;
  return copied;
}

TEST(part_test, copies_the_head_and_the_rows) {
  const copied_part copied = part_of(open_bytes(track), {1, 2});
  EXPECT_EQ(copied.bytes, "names\n2\n");
  EXPECT_EQ(copied.error, "");
}

TEST(part_test, fails_where_the_track_cannot_be_read) {
  for (const std::size_t position : {0U, 5U, 8U, 9U}) {
    SCOPED_TRACE(position);
    EXPECT_EQ(part_of(open_failing_bytes(track, position), {1, 2}).error, "failed to read file: day.csv");
  }
  EXPECT_EQ(part_of(open_failing_bytes(track, 10), {1, 2}).error, "");
}

ssize_t read_track(void *cookie, char *target, std::size_t size) {
  auto &position = *static_cast<std::size_t *>(cookie);
  const std::size_t count = track.copy(target, size, position);
  position += count;
  return static_cast<ssize_t>(count);
}

int seek_from_start(void *cookie, off64_t *offset, int whence) {
  if (whence != SEEK_SET) return -1;
  *static_cast<std::size_t *>(cookie) = static_cast<std::size_t>(*offset);
  return 0;
}

// Otherwise the last part would lose its rows, which reach to the end of the track.
TEST(part_test, fails_where_the_end_of_the_track_cannot_be_found) {
  std::size_t position = 0;
  const file_handle stream(fopencookie(&position, "rb", {read_track, nullptr, seek_from_start, nullptr}));
  EXPECT_EQ(part_of(stream, {2, 3}).error, "failed to read file: day.csv");
  EXPECT_EQ(part_of(open_bytes(track), {2, 3}).bytes, "names\n3\n");
}

}  // namespace
}  // namespace tarvel
