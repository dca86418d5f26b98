#include "track/delimited_reader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/refusals.h"
#include "support/warnings.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;
using enum outcome;
using reader = outcome (*)(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string units = ",(deg),(deg),(m),(m/s),(m/s),(m/s),(m),(m),(m/s),";
const std::string row_1 = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string row_2 = "1970-01-01T00:00:02Z,50.75,-4.25,90,1,2,3,0.5,0.25,0.125,13";
const std::string long_line(40000, 'x');

struct read_result {
  gps_track track;
  outcome result = done;
  error_slot error = "not cleared";
  std::string warnings;
};

// The track already has a sample before the call.
read_result read_track(reader read, const file_handle &stream) {
  read_result result;
  EXPECT_TRUE(try_zeroed(result.track.points, 1));
  result.track.count = result.track.capacity = 1;
  result.track.points[0].time = 42;
  warning_buffer warnings;
  result.result = read(stream.get(), result.track, warnings, &result.error);
  result.warnings = warnings.text();
  return result;
}

read_result read_text_track(reader read, const std::string &text) { return read_track(read, open_bytes(text)); }

void expect_track_of_before(const gps_track &track) {
  ASSERT_EQ(track.count, 1U);
  EXPECT_EQ(track.points[0].time, 42);
}

struct reader_case {
  const char *name;
  std::string text;
  std::vector<std::int64_t> times;
  outcome result;
  error_slot error;
  const char *warnings = "";
};

void expect_readings(reader read, std::span<const reader_case> cases) {
  for (const reader_case &c : cases) {
    SCOPED_TRACE(c.name);
    const read_result result = read_text_track(read, c.text);
    EXPECT_EQ(result.result, c.result);
    EXPECT_STREQ(result.error, c.error);
    EXPECT_EQ(result.warnings, c.warnings);
    if (c.result != done) {
      expect_track_of_before(result.track);
      continue;
    }
    ASSERT_EQ(result.track.count, c.times.size());
    for (std::size_t i = 0; i < c.times.size(); ++i) EXPECT_EQ(result.track.points[i].time, c.times[i]);
  }
}

const reader_case header_line_cases[] = {
    {"two samples", names + "\n" + units + "\n" + row_1 + "\n" + row_2 + "\n", {1000, 2000}, done, nullptr},
    {"no end on the last line", names + "\n" + units + "\n" + row_1, {1000}, done, nullptr},
    {"CRLF", names + "\r\n" + units + "\r\n" + row_1 + "\r\n" + row_2 + "\r\n", {1000, 2000}, done, nullptr},
    {"CR", names + "\r" + units + "\r" + row_1 + "\r" + row_2 + "\r", {1000, 2000}, done, nullptr},
    {"LFCR", names + "\n\r" + units + "\n\r" + row_1 + "\n\r" + row_2 + "\n\r", {1000, 2000}, done, nullptr},
    {"empty lines among the samples",
     names + "\n" + units + "\n\n" + row_1 + "\n\n\n" + row_2 + "\n\n",
     {1000, 2000},
     done,
     nullptr},
    {"the second line is never a sample", names + "\n" + row_1 + "\n" + row_2 + "\n", {2000}, done, nullptr},
    {"an empty units line", names + "\n\n" + row_1 + "\n", {1000}, done, nullptr},
    {"an unknown name",
     names + ",foo\n" + units + "\n" + row_1 + "\n",
     {1000},
     done,
     nullptr,
     "WARNING: unknown field (foo)\n"},
    {"a row with a field more", names + "\n\n" + row_1 + ",1\n" + row_2 + "\n", {2000}, done, nullptr},
    {"a row with a field fewer", names + "\n\n1970-01-01T00:00:03Z,1\n", {3000}, done, nullptr},
    {"a line of NUL", names + "\n\n\0junk\n"s + row_1 + "\n", {1000}, done, nullptr},
    {"a NUL in a row", names + "\n\n1970-01-01T00:00:04Z\0,1,2\n"s, {4000}, done, nullptr},
    {"no byte", "", {}, not_this_form, "missing field names"},
    {"a first line that is too long",
     long_line + "\n" + units + "\n" + row_1,
     {},
     not_this_form,
     "missing field names"},
    {"an empty first line", "\n" + names + "\n" + units + "\n" + row_1, {}, not_this_form, "invalid field names"},
    {"a required name is missing",
     names.substr(0, names.size() - 6) + "\n" + units + "\n" + row_1,
     {},
     not_this_form,
     "invalid field names"},
    {"the names alone", names, {}, not_this_form, "missing field units"},
    {"the names' line alone", names + "\n", {}, not_this_form, "missing field units"},
    {"a units line that is too long",
     names + "\n" + long_line + "\n" + row_1,
     {},
     not_this_form,
     "missing field units"},
    {"two header lines", names + "\n" + units + "\n", {}, not_this_form, "no GPS points found"},
    {"two header lines and empty ones", names + "\n" + units + "\n\n\n", {}, not_this_form, "no GPS points found"},
    {"only rows of too many fields",
     names + "\n" + units + "\n" + row_1 + ",1\n",
     {},
     not_this_form,
     "no GPS points found"},
    {"a bad time behind a sample",
     names + "\n\n" + row_1 + "\njunk\n" + row_2 + "\n",
     {},
     not_this_form,
     "invalid time field"},
    {"a bad time before a long line", names + "\n\njunk\n" + long_line + "\n", {}, not_this_form, "invalid time field"},
    {"a line that is too long",
     names + "\n\n" + row_1 + "\n" + long_line + "\n" + row_2 + "\n",
     {},
     not_this_form,
     "line length exceeded size of buffer"},
    {"a line that is too long and no sample",
     names + "\n\n" + long_line + "\n",
     {},
     not_this_form,
     "line length exceeded size of buffer"},
};

TEST(delimited_reader_test, reads_header_lines) { expect_readings(read_track_header_csv_stream, header_line_cases); }

const std::string col = "$COL,GNSS," + names + "\n";

const reader_case tagged_line_cases[] = {
    {"two samples", col + "$GNSS," + row_1 + "\n$GNSS," + row_2 + "\n", {1000, 2000}, done, nullptr},
    {"CRLF", "$COL,GNSS," + names + "\r\n$GNSS," + row_1 + "\r\n", {1000}, done, nullptr},
    {"CR", "$COL,GNSS," + names + "\r$GNSS," + row_1 + "\r", {1000}, done, nullptr},
    {"LFCR", "$COL,GNSS," + names + "\n\r$GNSS," + row_1 + "\n\r", {1000}, done, nullptr},
    {"other tags", "$FLYS,1\n$UNIT,GNSS,s\n" + col + "$IMU,1,2\n$GNSS," + row_1 + "\n$\n$G\n", {1000}, done, nullptr},
    {"empty lines", "\n" + col + "\n\n$GNSS," + row_1 + "\n\n", {1000}, done, nullptr},
    {"samples before the names are skipped",
     "$GNSS," + row_1 + "\n" + col + "$GNSS," + row_2 + "\n",
     {2000},
     done,
     nullptr},
    {"a second line of names is skipped", col + "$COL,GNSS,lat\n$GNSS," + row_1 + "\n", {1000}, done, nullptr},
    {"names of another tag", "$COL,IMU,lat\n$COL,GNSSX,lat\n" + col + "$GNSS," + row_1 + "\n", {1000}, done, nullptr},
    {"a longer tag is another one", col + "$GNSSX," + row_1 + "\n$GNSS," + row_2 + "\n", {2000}, done, nullptr},
    {"lower case is another tag", col + "$gnss," + row_1 + "\n$GNSS," + row_2 + "\n", {2000}, done, nullptr},
    {"an unknown name",
     "$COL,GNSS," + names + ",foo\n$GNSS," + row_1 + "\n",
     {1000},
     done,
     nullptr,
     "WARNING: unknown field (foo)\n"},
    {"a sample of no fields", col + "$GNSS,\n", {0}, done, nullptr},
    {"a row with a field more", col + "$GNSS," + row_1 + ",1\n$GNSS," + row_2 + "\n", {2000}, done, nullptr},
    {"no byte", "", {}, not_this_form, "no GPS points found"},
    {"names alone", col, {}, not_this_form, "no GPS points found"},
    {"samples alone", "$GNSS," + row_1 + "\n", {}, not_this_form, "no GPS points found"},
    {"a tag without its comma", col + "$GNSS\n$COL,GNSS\n", {}, not_this_form, "no GPS points found"},
    {"no prefix on the first line", names + "\n" + col, {}, not_this_form, "missing $ prefix"},
    {"no prefix behind a sample",
     col + "$GNSS," + row_1 + "\nGNSS," + row_2 + "\n",
     {},
     not_this_form,
     "missing $ prefix"},
    {"a blank before the prefix", " " + col, {}, not_this_form, "missing $ prefix"},
    {"a required name is missing", "$COL,GNSS,time,lat\n", {}, not_this_form, "invalid field names"},
    {"no names at all", "$COL,GNSS,\n", {}, not_this_form, "invalid field names"},
    {"a bad time", col + "$GNSS,junk\n", {}, not_this_form, "invalid time field"},
    {"a line that is too long",
     col + "$GNSS," + row_1 + "\n$" + long_line,
     {},
     not_this_form,
     "line length exceeded size of buffer"},
    {"nothing but a long line", "$" + long_line, {}, not_this_form, "line length exceeded size of buffer"},
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

// 4096 samples fill the first array. The ends of the blocks lie at different places of a row.
TEST(delimited_reader_test, reads_as_many_samples_as_there_are) {
  for (const kind_case &kind : kinds) {
    for (const std::uint32_t count : {4095U, 4096U, 4097U, 8192U, 8193U}) {
      SCOPED_TRACE(count);
      std::string text = kind.head;
      for (std::uint32_t i = 0; i < count; ++i) {
        text += kind.prefix + "1970-01-01T00:00:" + std::to_string(i) + "Z," + std::to_string(i) + ".5,1,2,3\r\n";
      }
      const read_result result = read_text_track(kind.read, text);
      ASSERT_EQ(result.result, done);
      ASSERT_EQ(result.error, nullptr);
      ASSERT_EQ(result.track.count, count);
      for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(result.track.points[i].time, i * 1000LL);
        ASSERT_EQ(result.track.points[i].pos_wgs84.x, i + 0.5);
      }
    }
  }
}

// More columns and samples than their first blocks hold.
TEST(delimited_reader_test, fails_wherever_memory_is_short) {
  for (const kind_case &kind : kinds) {
    std::string text = kind.head;
    const std::string more_names = ",heading,heading,heading,heading,heading";
    text.insert(text.find('\n'), more_names);
    for (int i = 0; i < 4097; ++i) text += kind.prefix + row_1 + "\n";
    const auto attempt = [&](std::size_t granted) {
      const file_handle stream = open_bytes(text);
      gps_track track;
      error_slot error = nullptr;
      warning_buffer warnings;
      const allocation_limit limit(granted);
      const outcome result = kind.read(stream.get(), track, warnings, &error);
      EXPECT_EQ(result, error == nullptr ? done : no_memory);
      EXPECT_EQ(track.count, error == nullptr ? 4097U : 0U);
      EXPECT_EQ(track.points == nullptr, error != nullptr);
      return error;
    };
    EXPECT_EQ(messages_of_refusals(attempt),
              (std::vector<std::string>{"failed to malloc file.block_ptr", "invalid field names",
                                        "failed to realloc gps_points"}));
  }
}

// A file that is cut anywhere gives the samples before the cut or one of the reader's messages.
TEST(delimited_reader_test, reads_every_cut_of_a_file) {
  for (const kind_case &kind : kinds) {
    const std::string text = kind.head + kind.prefix + row_1 + "\r\n" + kind.prefix + row_2 + "\r\n";
    const std::size_t first_end = kind.head.size() + kind.prefix.size() + row_1.size();
    for (std::size_t size = 0; size < text.size(); ++size) {
      SCOPED_TRACE(size);
      const read_result result = read_text_track(kind.read, text.substr(0, size));
      EXPECT_EQ(result.result, result.error == nullptr ? done : not_this_form);
      if (result.error != nullptr) expect_track_of_before(result.track);
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

// Long lines: the last of them do not fit in the first block.
TEST(delimited_reader_test, fails_wherever_the_disk_does) {
  for (const kind_case &kind : kinds) {
    std::string text = kind.head;
    for (int i = 0; i < 9; ++i) text += kind.prefix + row_1 + std::string(4000, ' ') + "\n";
    for (std::size_t position = 0; position < text.size(); position += position < kind.head.size() ? 1 : 499) {
      SCOPED_TRACE(position);
      const read_result result = read_track(kind.read, open_failing_bytes(text, position));
      EXPECT_EQ(result.result, unreadable);
      EXPECT_STREQ(result.error, "failed to read track");
      expect_track_of_before(result.track);
    }
  }
}

// The reader has already found another error in the lines before the disk fails.
TEST(delimited_reader_test, reports_a_read_error_whatever_the_lines_were) {
  for (const std::string &text : {"hello\n"s, names + "\n\njunk\n", "$COL,GNSS,time\n"s}) {
    SCOPED_TRACE(text);
    for (const kind_case &kind : kinds) {
      const read_result result = read_track(kind.read, open_failing_bytes(text, text.size()));
      EXPECT_EQ(result.result, unreadable);
      EXPECT_STREQ(result.error, "failed to read track");
    }
  }
}

}  // namespace
}  // namespace tarvel
