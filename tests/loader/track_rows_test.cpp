#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "loader/track_loader.h"
#include "support/files.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string units = ",(deg),(deg),(m),(m/s),(m/s),(m/s),(m),(m),(m/s),";
const std::string row_1 = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string row_2 = "1970-01-01T00:00:02Z,50.75,-4.25,90,1,2,3,0.5,0.25,0.125,13";

struct rows_read {
  outcome result = outcome::unreadable;
  std::uint32_t samples = 0;
  std::vector<std::string> rows;  // each from its beginning to the next one or the end
};

rows_read rows_of(const std::string &text) {
  const file_handle stream = open_bytes(text);
  error_slot error = nullptr;
  text_buffer warnings = text_buffer_create(&error);
  gps_track track;
  row_offsets rows;
  rows_read read;
  read.result = load_swoop_rows(stream.get(), track, rows, warnings, &error);
  read.samples = track.count;
  for (std::uint32_t i = 0; i < rows.count; ++i) {
    const std::uint64_t end = i + 1 < rows.count ? rows.offsets[i + 1] : text.size();
    read.rows.push_back(text.substr(rows.offsets[i], end - rows.offsets[i]));
  }
  return read;
}

struct rows_case {
  const char *name;
  std::string text;
  std::vector<std::string> rows;
};

const rows_case rows_cases[] = {
    {"LF", names + "\n" + units + "\n" + row_1 + "\n" + row_2 + "\n", {row_1 + "\n", row_2 + "\n"}},
    {"CRLF", names + "\r\n" + units + "\r\n" + row_1 + "\r\n" + row_2 + "\r\n", {row_1 + "\r\n", row_2 + "\r\n"}},
    {"no end on the last line", names + "\n\n" + row_1 + "\n" + row_2, {row_1 + "\n", row_2}},
    {"a dropped row belongs to the row before it",
     names + "\n\n" + row_1 + "\n" + row_2 + ",1\n\n" + row_2 + "\n",
     {row_1 + "\n" + row_2 + ",1\n\n", row_2 + "\n"}},
    {"tagged lines",
     "$VER,1\n$GNSS," + row_1 + "\n$COL,GNSS," + names + "\n$GNSS," + row_1 + "\n$IMU,1\n$GNSS," + row_2 + "\n$IMU,2\n",
     {"$GNSS," + row_1 + "\n$IMU,1\n", "$GNSS," + row_2 + "\n$IMU,2\n"}},
    {"no track", "no track\n", {}},
    {"a row with a time that is none", names + "\n\n" + row_1 + "\nnow" + row_2 + "\n", {}},
};

TEST(track_rows_test, each_sample_has_the_row_that_it_was_read_from) {
  for (const rows_case &c : rows_cases) {
    SCOPED_TRACE(c.name);
    const rows_read read = rows_of(c.text);
    EXPECT_EQ(read.rows, c.rows);
    EXPECT_EQ(read.samples, c.rows.size());
    EXPECT_EQ(read.result == outcome::done, !c.rows.empty());
  }
}

// With lines of 59 and 60 bytes the ends of the blocks of 32768 bytes are at every place of a line.
TEST(track_rows_test, rows_are_found_in_every_block) {
  std::string text = names + "\n\n";
  std::vector<std::string> expected;
  for (int i = 0; i < 5000; ++i) {
    expected.push_back((i % 2 == 0 ? row_1 : row_2) + "\n");
    text += expected.back();
  }
  EXPECT_EQ(rows_of(text).rows, expected);
}

TEST(track_rows_test, fails_wherever_memory_is_short) {
  const std::string text = names + "\n\n" + row_1 + "\n";
  const auto attempt = [&](std::size_t granted) {
    const file_handle stream = open_bytes(text);
    error_slot error = nullptr;
    text_buffer warnings = text_buffer_create(&error);
    gps_track track;
    row_offsets rows;
    const allocation_limit limit(granted);
    const outcome result = load_swoop_rows(stream.get(), track, rows, warnings, &error);
    EXPECT_EQ(error == nullptr, result == outcome::done);
    EXPECT_EQ(track.count > 0, result == outcome::done);
    EXPECT_EQ(rows.count > 0, result == outcome::done);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt),
            (std::vector<std::string>{"failed to malloc file.block_ptr", "invalid field names",
                                      "failed to realloc gps_points"}));
}

}  // namespace
}  // namespace tarvel
