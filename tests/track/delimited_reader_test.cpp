#include "track/delimited_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/files.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;
using reader = void (*)(std::FILE *stream, gps_track &track, error_slot *error);

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string units = ",(deg),(deg),(m),(m/s),(m/s),(m/s),(m),(m),(m/s),";
const std::string row_1 = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string row_2 = "1970-01-01T00:00:02Z,50.75,-4.25,90,1,2,3,0.5,0.25,0.125,13";
const std::string long_line(40000, 'x');

struct read_result {
  gps_track track;
  error_slot error = "not cleared";
  std::string printed;
};

// The track has a sample beforehand, which no reader keeps.
read_result read_text_track(reader read, const std::string &text) {
  read_result result;
  EXPECT_TRUE(try_zeroed(result.track.points, 1));
  result.track.count = result.track.capacity = 1;
  result.track.points[0].time = 42;
  const file_handle stream = open_bytes(text);
  result.printed = printed_by([&] { read(stream.get(), result.track, &result.error); });
  return result;
}

struct reader_case {
  const char *name;
  std::string text;
  std::vector<std::int64_t> times;
  error_slot error;
  const char *printed = "";
};

void expect_readings(reader read, std::span<const reader_case> cases) {
  for (const reader_case &c : cases) {
    SCOPED_TRACE(c.name);
    const read_result result = read_text_track(read, c.text);
    EXPECT_STREQ(result.error, c.error);
    EXPECT_EQ(result.printed, c.printed);
    EXPECT_EQ(result.track.points != nullptr, c.error == nullptr);
    ASSERT_EQ(result.track.count, c.times.size());
    for (std::size_t i = 0; i < c.times.size(); ++i) EXPECT_EQ(result.track.points[i].time, c.times[i]);
  }
}

const reader_case header_line_cases[] = {
    {"two samples", names + "\n" + units + "\n" + row_1 + "\n" + row_2 + "\n", {1000, 2000}, nullptr},
    {"no end on the last line", names + "\n" + units + "\n" + row_1, {1000}, nullptr},
    {"CRLF", names + "\r\n" + units + "\r\n" + row_1 + "\r\n" + row_2 + "\r\n", {1000, 2000}, nullptr},
    {"CR", names + "\r" + units + "\r" + row_1 + "\r" + row_2 + "\r", {1000, 2000}, nullptr},
    {"LFCR", names + "\n\r" + units + "\n\r" + row_1 + "\n\r" + row_2 + "\n\r", {1000, 2000}, nullptr},
    {"empty lines among the samples",
     names + "\n" + units + "\n\n" + row_1 + "\n\n\n" + row_2 + "\n\n",
     {1000, 2000},
     nullptr},
    {"the second line is never a sample", names + "\n" + row_1 + "\n" + row_2 + "\n", {2000}, nullptr},
    {"an empty units line", names + "\n\n" + row_1 + "\n", {1000}, nullptr},
    {"an unknown name",
     names + ",foo\n" + units + "\n" + row_1 + "\n",
     {1000},
     nullptr,
     "WARNING: unknown field (foo)\n"},
    {"a row with a field more", names + "\n\n" + row_1 + ",1\n" + row_2 + "\n", {2000}, nullptr},
    {"a row with a field fewer", names + "\n\n1970-01-01T00:00:03Z,1\n", {3000}, nullptr},
    {"a line of NUL", names + "\n\n\0junk\n"s + row_1 + "\n", {1000}, nullptr},
    {"a NUL in a row", names + "\n\n1970-01-01T00:00:04Z\0,1,2\n"s, {4000}, nullptr},
    {"no byte", "", {}, "missing field names"},
    {"a first line that is too long", long_line + "\n" + units + "\n" + row_1, {}, "missing field names"},
    {"an empty first line", "\n" + names + "\n" + units + "\n" + row_1, {}, "invalid field names"},
    {"a required name is missing",
     names.substr(0, names.size() - 6) + "\n" + units + "\n" + row_1,
     {},
     "invalid field names"},
    {"the names alone", names, {}, "missing field units"},
    {"the names' line alone", names + "\n", {}, "missing field units"},
    {"a units line that is too long", names + "\n" + long_line + "\n" + row_1, {}, "missing field units"},
    {"two header lines", names + "\n" + units + "\n", {}, "no GPS points found"},
    {"two header lines and empty ones", names + "\n" + units + "\n\n\n", {}, "no GPS points found"},
    {"only rows of too many fields", names + "\n" + units + "\n" + row_1 + ",1\n", {}, "no GPS points found"},
    {"a bad time behind a sample", names + "\n\n" + row_1 + "\njunk\n" + row_2 + "\n", {}, "invalid time field"},
    {"a bad time before a long line", names + "\n\njunk\n" + long_line + "\n", {}, "invalid time field"},
    {"a line that is too long",
     names + "\n\n" + row_1 + "\n" + long_line + "\n" + row_2 + "\n",
     {},
     "line length exceeded size of buffer"},
    {"a line that is too long and no sample",
     names + "\n\n" + long_line + "\n",
     {},
     "line length exceeded size of buffer"},
};

TEST(delimited_reader_test, reads_header_lines) { expect_readings(read_track_header_csv_stream, header_line_cases); }

const std::string col = "$COL,GNSS," + names + "\n";

const reader_case tagged_line_cases[] = {
    {"two samples", col + "$GNSS," + row_1 + "\n$GNSS," + row_2 + "\n", {1000, 2000}, nullptr},
    {"CRLF", "$COL,GNSS," + names + "\r\n$GNSS," + row_1 + "\r\n", {1000}, nullptr},
    {"CR", "$COL,GNSS," + names + "\r$GNSS," + row_1 + "\r", {1000}, nullptr},
    {"LFCR", "$COL,GNSS," + names + "\n\r$GNSS," + row_1 + "\n\r", {1000}, nullptr},
    {"other tags", "$FLYS,1\n$UNIT,GNSS,s\n" + col + "$IMU,1,2\n$GNSS," + row_1 + "\n$\n$G\n", {1000}, nullptr},
    {"empty lines", "\n" + col + "\n\n$GNSS," + row_1 + "\n\n", {1000}, nullptr},
    {"samples before the names are skipped", "$GNSS," + row_1 + "\n" + col + "$GNSS," + row_2 + "\n", {2000}, nullptr},
    {"a second line of names is skipped", col + "$COL,GNSS,lat\n$GNSS," + row_1 + "\n", {1000}, nullptr},
    {"names of another tag", "$COL,IMU,lat\n$COL,GNSSX,lat\n" + col + "$GNSS," + row_1 + "\n", {1000}, nullptr},
    {"a longer tag is another one", col + "$GNSSX," + row_1 + "\n$GNSS," + row_2 + "\n", {2000}, nullptr},
    {"lower case is another tag", col + "$gnss," + row_1 + "\n$GNSS," + row_2 + "\n", {2000}, nullptr},
    {"an unknown name",
     "$COL,GNSS," + names + ",foo\n$GNSS," + row_1 + "\n",
     {1000},
     nullptr,
     "WARNING: unknown field (foo)\n"},
    {"a sample of no fields", col + "$GNSS,\n", {0}, nullptr},
    {"a row with a field more", col + "$GNSS," + row_1 + ",1\n$GNSS," + row_2 + "\n", {2000}, nullptr},
    {"no byte", "", {}, "no GPS points found"},
    {"names alone", col, {}, "no GPS points found"},
    {"samples alone", "$GNSS," + row_1 + "\n", {}, "no GPS points found"},
    {"a tag without its comma", col + "$GNSS\n$COL,GNSS\n", {}, "no GPS points found"},
    {"no prefix on the first line", names + "\n" + col, {}, "missing $ prefix"},
    {"no prefix behind a sample", col + "$GNSS," + row_1 + "\nGNSS," + row_2 + "\n", {}, "missing $ prefix"},
    {"a blank before the prefix", " " + col, {}, "missing $ prefix"},
    {"a required name is missing", "$COL,GNSS,time,lat\n", {}, "invalid field names"},
    {"no names at all", "$COL,GNSS,\n", {}, "invalid field names"},
    {"a bad time", col + "$GNSS,junk\n", {}, "invalid time field"},
    {"a line that is too long", col + "$GNSS," + row_1 + "\n$" + long_line, {}, "line length exceeded size of buffer"},
    {"nothing but a long line", "$" + long_line, {}, "line length exceeded size of buffer"},
};

TEST(delimited_reader_test, reads_tagged_lines) { expect_readings(read_track_tagged_stream, tagged_line_cases); }

struct kind_case {
  reader read;
  std::string head;
  std::string prefix;
};

const kind_case kinds[] = {
    {read_track_header_csv_stream, names + "\n" + units + "\n", ""},
    {read_track_tagged_stream, col, "$GNSS,"},
};

TEST(delimited_reader_test, stores_the_fields_as_read) {
  for (const kind_case &kind : kinds) {
    const read_result result = read_text_track(kind.read, kind.head + kind.prefix + row_1);
    ASSERT_EQ(result.track.count, 1U);
    const gps_point &point = result.track.points[0];
    EXPECT_EQ(point.pos_wgs84.x, 50.5);
    EXPECT_EQ(point.pos_wgs84.y, -4.25);
    EXPECT_EQ(point.pos_wgs84.z, 100.0);
    EXPECT_EQ(point.vel_ltp.x, 1.0);
    EXPECT_EQ(point.vel_ltp.y, 2.0);
    EXPECT_EQ(point.vel_ltp.z, 3.0);
    EXPECT_EQ(point.hacc, 0.5F);
    EXPECT_EQ(point.vacc, 0.25F);
    EXPECT_EQ(point.sacc, 0.125F);
    EXPECT_EQ(point.gpsfix, 0);
    EXPECT_EQ(point.numsv, 12);
  }
}

// 4096 samples fill the first array; each takes one of the block's ends somewhere else in its row.
TEST(delimited_reader_test, reads_as_many_samples_as_there_are) {
  for (const kind_case &kind : kinds) {
    for (const std::uint32_t count : {4095U, 4096U, 4097U, 8192U, 8193U}) {
      SCOPED_TRACE(count);
      std::string text = kind.head;
      for (std::uint32_t i = 0; i < count; ++i) {
        text += kind.prefix + "1970-01-01T00:00:" + std::to_string(i) + "Z," + std::to_string(i) + ".5,1,2,3\r\n";
      }
      const read_result result = read_text_track(kind.read, text);
      ASSERT_EQ(result.error, nullptr);
      ASSERT_EQ(result.track.count, count);
      EXPECT_EQ(result.track.capacity, count <= 4096 ? 4096U : count <= 8192 ? 8192U : 16384U);
      for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(result.track.points[i].time, i * 1000LL);
        ASSERT_EQ(result.track.points[i].pos_wgs84.x, i + 0.5);
      }
    }
  }
}

// The block, the columns (once more for the 16th), the samples (once more for the 4097th).
TEST(delimited_reader_test, fails_wherever_memory_is_short) {
  const error_slot messages[] = {
      "failed to malloc file.block_ptr", "invalid field names",          "invalid field names",
      "failed to realloc gps_points",    "failed to realloc gps_points", nullptr};
  for (const kind_case &kind : kinds) {
    std::string text = kind.head;
    const std::string more_names = ",heading,heading,heading,heading,heading";
    text.insert(text.find('\n'), more_names);
    for (int i = 0; i < 4097; ++i) text += kind.prefix + row_1 + "\n";
    for (std::size_t granted = 0; granted < std::size(messages); ++granted) {
      SCOPED_TRACE(granted);
      const file_handle stream = open_bytes(text);
      gps_track track;
      error_slot error = nullptr;
      const allocation_limit limit(granted);
      kind.read(stream.get(), track, &error);
      EXPECT_STREQ(error, messages[granted]);
      EXPECT_EQ(track.count, messages[granted] == nullptr ? 4097U : 0U);
      EXPECT_EQ(track.points == nullptr, messages[granted] != nullptr);
    }
  }
}

// A file that ends anywhere gives its samples so far or one of the reader's own messages, and never memory of before.
TEST(delimited_reader_test, survives_every_cut) {
  for (const kind_case &kind : kinds) {
    const std::string text = kind.head + kind.prefix + row_1 + "\r\n" + kind.prefix + row_2 + "\r\n";
    const std::size_t first_end = kind.head.size() + kind.prefix.size() + row_1.size();
    for (std::size_t size = 0; size < text.size(); ++size) {
      SCOPED_TRACE(size);
      const read_result result = read_text_track(kind.read, text.substr(0, size));
      EXPECT_EQ(result.error == nullptr, result.track.count > 0);
      EXPECT_EQ(result.error == nullptr, result.track.points != nullptr);
      if (size < kind.head.size()) {
        EXPECT_NE(result.error, nullptr);
      }
      if (size > first_end && result.error == nullptr) {
        EXPECT_EQ(result.track.points[0].numsv, 12);
      }
    }
  }
}

TEST(delimited_reader_test, forgets_the_minute_of_the_file_before) {
  const std::string text = names + "\n\n1970-01-01T00:00:01Z\n";
  EXPECT_EQ(read_text_track(read_track_header_csv_stream, text).track.points[0].time, 1000);
  setenv("TZ", "EST5", 1);
  EXPECT_EQ(read_text_track(read_track_header_csv_stream, text).track.points[0].time, 5 * 3600000 + 1000);
  setenv("TZ", "UTC", 1);
  EXPECT_EQ(read_text_track(read_track_header_csv_stream, text).track.points[0].time, 1000);
}

TEST(delimited_reader_test, reads_files_by_their_path) {
  const temp_dir dir;
  write_text("run.csv", names + "\n\n" + row_1);
  write_text("run.tag", col + "$GNSS," + row_2);
  gps_track track;
  error_slot error = nullptr;
  read_track_header_csv("run.csv", track, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(track.points[0].time, 1000);
  read_track_tagged("run.tag", track, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(track.points[0].time, 2000);
  for (const auto read : {read_track_header_csv, read_track_tagged}) {
    read("nowhere.csv", track, &error);
    EXPECT_STREQ(error, "failed to open file: nowhere.csv");
    EXPECT_EQ(track.points, nullptr);
    EXPECT_EQ(track.count, 0U);
  }
}

TEST(delimited_reader_test, finds_nothing_in_a_folder) {
  const temp_dir dir;
  ASSERT_EQ(mkdir("run.csv", 0700), 0);
  gps_track track;
  error_slot error = nullptr;
  read_track_header_csv("run.csv", track, &error);
  EXPECT_STREQ(error, "missing field names");
}

}  // namespace
}  // namespace tarvel
