#include "track/columns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/refusals.h"
#include "support/warnings.h"
#include "track/time_field.h"

namespace tarvel {
namespace {

using enum outcome;

const std::string required_names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";

// A text that is open at its first line.
struct open_text {
  explicit open_text(std::string lines) : text(std::move(lines)), stream(open_bytes(text)) {
    error_slot error = nullptr;
    EXPECT_TRUE(open_track_stream(stream.get(), file, &error));
    EXPECT_TRUE(read_line(file));
  }

  std::string text;
  file_handle stream;
  track_file file;
};

struct names_result {
  column_actions actions;
  outcome result = done;
  error_slot error = nullptr;
  std::string warnings;
};

names_result parse_names(const std::string &names) {
  open_text line(names + "\n");
  warning_buffer warnings;
  names_result parsed;
  parsed.result = parse_field_names(line.file, parsed.actions, warnings, &parsed.error);
  parsed.warnings = warnings.text();
  return parsed;
}

std::size_t count_of(const column_actions &actions) {
  std::size_t count = 0;
  while (actions[count] != nullptr) ++count;
  return count;
}

TEST(columns_test, needs_each_of_the_eleven_names) {
  const names_result all = parse_names(required_names);
  EXPECT_EQ(all.result, done);
  EXPECT_EQ(all.error, nullptr);
  EXPECT_EQ(count_of(all.actions), 11U);

  for (std::size_t first = 0; first < required_names.size();) {
    const std::size_t last = std::min(required_names.find(',', first), required_names.size());
    std::string names = required_names;
    names.replace(first, last - first, "heading");
    SCOPED_TRACE(names);
    const names_result parsed = parse_names(names);
    EXPECT_EQ(parsed.result, not_this_form);
    EXPECT_STREQ(parsed.error, "invalid field names");
    EXPECT_EQ(parsed.actions, nullptr);
    first = last + 1;
  }
}

struct names_case {
  const char *name;
  std::string names;
  outcome result;
  const char *warnings;
};

const names_case names_cases[] = {
    {"all that are known", required_names + ",gpsFix,heading,cAcc", done, ""},
    {"another order", "numSV,sAcc,vAcc,hAcc,velD,velE,velN,hMSL,lon,lat,time", done, ""},
    {"one that is unknown", required_names + ",foo", done, "WARNING: unknown field (foo)\n"},
    {"two that are unknown", "foo," + required_names + ",bar", done,
     "WARNING: unknown field (foo)\nWARNING: unknown field (bar)\n"},
    {"one without letters", "," + required_names, done, "WARNING: unknown field ()\n"},
    {"a trailing comma", required_names + ",", done, ""},
    {"a name twice", required_names + ",lat,lat", done, ""},
    {"upper case", "Time" + required_names.substr(4), not_this_form, "WARNING: unknown field (Time)\n"},
    {"a blank before the name", " " + required_names, not_this_form, "WARNING: unknown field ( time)\n"},
    {"a blank behind the name", required_names + " ", not_this_form, "WARNING: unknown field (numSV )\n"},
    {"the start of a name", required_names.substr(0, required_names.size() - 1), not_this_form,
     "WARNING: unknown field (numS)\n"},
    {"more than a name", required_names + "x", not_this_form, "WARNING: unknown field (numSVx)\n"},
    {"the optional ones alone", "gpsFix,heading,cAcc", not_this_form, ""},
    {"an empty line", "", not_this_form, ""},
};

TEST(columns_test, warns_of_unknown_names_and_ignores_them) {
  for (const names_case &c : names_cases) {
    SCOPED_TRACE(c.name);
    const names_result parsed = parse_names(c.names);
    EXPECT_EQ(parsed.warnings, c.warnings);
    EXPECT_EQ(parsed.result, c.result);
    EXPECT_STREQ(parsed.error, c.result == done ? nullptr : "invalid field names");
    EXPECT_EQ(parsed.actions != nullptr, c.result == done);
  }
}

// 16 places hold 15 columns and the final null, 32 hold 31.
TEST(columns_test, makes_room_for_any_number_of_columns) {
  for (const std::size_t count : {11U, 14U, 15U, 16U, 17U, 31U, 32U, 200U}) {
    SCOPED_TRACE(count);
    std::string names = required_names;
    for (std::size_t i = 11; i < count; ++i) names += ",heading";
    const names_result parsed = parse_names(names);
    ASSERT_EQ(parsed.result, done);
    EXPECT_EQ(count_of(parsed.actions), count);
  }
}

std::vector<std::string> refusals_of(const std::string &names, const std::string &warned) {
  return messages_of_refusals([&](std::size_t granted) {
    open_text line(names + "\n");
    column_actions actions;
    warning_buffer warnings;
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    const outcome result = parse_field_names(line.file, actions, warnings, &error);
    EXPECT_EQ(result, error == nullptr ? done : no_memory);
    EXPECT_EQ(actions != nullptr, error == nullptr);
    EXPECT_EQ(warnings.text(), error == nullptr ? warned : "");
    return error;
  });
}

// More columns than a first block of memory holds.
TEST(columns_test, fails_when_memory_is_short_for_the_columns) {
  std::string names = required_names;
  for (std::size_t i = 11; i < 200; ++i) names += ",heading";
  EXPECT_EQ(refusals_of(names, ""), std::vector<std::string>{"invalid field names"});
}

TEST(columns_test, takes_warnings_that_report_to_the_same_slot) {
  for (const std::string &names : {required_names + ",xyz", std::string("time,xyz")}) {
    SCOPED_TRACE(names);
    open_text line(names + "\n");
    column_actions actions;
    error_slot error = nullptr;
    text_buffer warnings = text_buffer_create(&error);
    const bool is_whole = names != "time,xyz";
    EXPECT_EQ(parse_field_names(line.file, actions, warnings, &error), is_whole ? done : not_this_form);
    EXPECT_STREQ(error, is_whole ? nullptr : "invalid field names");
    EXPECT_STREQ(warnings.data.get(), "WARNING: unknown field (xyz)\n");
  }
}

// More than a thousand bytes of warnings do not fit into the first block of memory.
TEST(columns_test, fails_when_memory_is_short_for_the_warnings) {
  const std::string name(1000, 'x');
  EXPECT_EQ(refusals_of(required_names + "," + name, "WARNING: unknown field (" + name + ")\n"),
            (std::vector<std::string>{"invalid field names", "realloc failed"}));
}

// The short warning would fit although the long one before it does not.
TEST(columns_test, stops_at_the_first_warning_that_memory_is_short_for) {
  const std::string name(1000, 'x');
  EXPECT_EQ(refusals_of(required_names + "," + name + ",y",
                        "WARNING: unknown field (" + name + ")\nWARNING: unknown field (y)\n"),
            (std::vector<std::string>{"invalid field names", "realloc failed"}));
}

struct row_result {
  gps_track track;
  outcome result = done;
  error_slot error = nullptr;
};

row_result read_row(const std::string &names, const std::string &row) {
  const names_result parsed = parse_names(names);
  EXPECT_EQ(parsed.result, done);
  row_result result;
  open_text line(row + "\n");
  result.result = append_gps_point(line.file, parsed.actions, result.track, &result.error);
  return result;
}

TEST(columns_test, stores_each_column_in_its_field) {
  forget_calendar_minute();
  const row_result result = read_row("cAcc,numSV,gpsFix,sAcc,vAcc,hAcc,cAcc,velD,velE,velN,hMSL,lon,lat,heading,time",
                                     "91,12,3,0.5,1.25,2.5,92,-1,-2,-3,1234.5,-4.25,50.5,93,1970-01-02T00:00:01.5Z");
  ASSERT_EQ(result.error, nullptr);
  EXPECT_EQ(result.result, done);
  ASSERT_EQ(result.track.count, 1U);
  const gps_point &point = result.track.points[0];
  EXPECT_EQ(point.time, 86401500);
  EXPECT_EQ(point.pos_wgs84.x, 50.5);
  EXPECT_EQ(point.pos_wgs84.y, -4.25);
  EXPECT_EQ(point.pos_wgs84.z, 1234.5);
  EXPECT_EQ(point.vel_ltp.x, -3.0);
  EXPECT_EQ(point.vel_ltp.y, -2.0);
  EXPECT_EQ(point.vel_ltp.z, -1.0);
  EXPECT_EQ(point.hacc, 2.5F);
  EXPECT_EQ(point.vacc, 1.25F);
  EXPECT_EQ(point.sacc, 0.5F);
  EXPECT_EQ(point.gpsfix, 3);
  EXPECT_EQ(point.numsv, 12);
  EXPECT_EQ(point.heading, 0.0);
}

TEST(columns_test, reads_the_later_of_two_columns_last) {
  const row_result result = read_row("lat,lat," + required_names.substr(9) + ",time,lon", "1,2");
  EXPECT_EQ(result.track.points[0].pos_wgs84.x, 2.0);
}

// 1.00000005960464477540 lies just above the tie between 1 and 1 + 2^-23 in single precision. In double precision it
// becomes the tie itself, which then goes to the even 1; read in single precision it would be 1 + 2^-23.
TEST(columns_test, narrows_the_accuracies_from_double_precision) {
  const std::string value = "1.00000005960464477540";
  const row_result result =
      read_row("hAcc,vAcc,sAcc,time,lat,lon,hMSL,velN,velE,velD,numSV", value + "," + value + "," + value);
  ASSERT_NE(std::strtof(value.c_str(), nullptr), 1.0F);
  EXPECT_EQ(result.track.points[0].hacc, 1.0F);
  EXPECT_EQ(result.track.points[0].vacc, 1.0F);
  EXPECT_EQ(result.track.points[0].sacc, 1.0F);
}

TEST(columns_test, narrows_an_accuracy_beyond_single_precision_to_infinity) {
  const row_result result = read_row("hAcc,vAcc,sAcc,time,lat,lon,hMSL,velN,velE,velD,numSV", "1e39,-1e39,nan");
  EXPECT_EQ(result.track.points[0].hacc, HUGE_VALF);
  EXPECT_EQ(result.track.points[0].vacc, -HUGE_VALF);
  EXPECT_TRUE(std::isnan(result.track.points[0].sacc));
}

struct count_case {
  const char *text;
  int expected;
};

const count_case count_cases[] = {
    {"0", 0},
    {"12", 12},
    {"255", 255},
    {"256", 0},
    {"257", 1},
    {"+7", 7},
    {" 7", 7},
    {"-1", 255},
    {"-255", 1},
    {"7.9", 7},
    {"7x", 7},
    {"x", 0},
    {"010", 10},
    {"0x10", 0},
    {"1e2", 1},
    {"", 0},
    {"99999999999999999999999", 255},  // the largest number that strtoul has
};

TEST(columns_test, keeps_the_low_8_bits_of_a_count) {
  for (const count_case &c : count_cases) {
    SCOPED_TRACE(c.text);
    const std::string text = c.text;
    const row_result result =
        read_row("numSV,gpsFix,sAcc,vAcc,hAcc,velD,velE,velN,hMSL,lon,lat,time", text + "," + text);
    EXPECT_EQ(result.error, nullptr);
    EXPECT_EQ(result.track.points[0].numsv, c.expected);
    EXPECT_EQ(result.track.points[0].gpsfix, c.expected);
  }
}

TEST(columns_test, takes_any_text_for_a_number) {
  const row_result result =
      read_row("lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV,time", "junk,,1e3,0x10,+5, 7,5m,-,.5");
  EXPECT_EQ(result.error, nullptr);
  ASSERT_EQ(result.track.count, 1U);
  const gps_point &point = result.track.points[0];
  EXPECT_EQ(point.pos_wgs84.x, 0.0);
  EXPECT_EQ(point.pos_wgs84.y, 0.0);
  EXPECT_EQ(point.pos_wgs84.z, 1000.0);
  EXPECT_EQ(point.vel_ltp.x, 16.0);
  EXPECT_EQ(point.vel_ltp.y, 5.0);
  EXPECT_EQ(point.vel_ltp.z, 7.0);
  EXPECT_EQ(point.hacc, 5.0F);
  EXPECT_EQ(point.vacc, 0.0F);
  EXPECT_EQ(point.sacc, 0.5F);
}

struct row_case {
  const char *name;
  const char *row;
  std::uint32_t count;
  outcome result;
  error_slot error;
};

const std::string lat_first = "lat,time,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";

const row_case row_cases[] = {
    {"as many fields as columns", "1,2024-06-01T12:30:05Z,3,4,5,6,7,8,9,10,11", 1, done, nullptr},
    {"a trailing comma", "1,2024-06-01T12:30:05Z,3,4,5,6,7,8,9,10,11,", 1, done, nullptr},
    {"one field more", "1,2024-06-01T12:30:05Z,3,4,5,6,7,8,9,10,11,12", 0, done, nullptr},
    {"one empty field more", "1,2024-06-01T12:30:05Z,3,4,5,6,7,8,9,10,11,,", 0, done, nullptr},
    {"one field fewer", "1,2024-06-01T12:30:05Z,3,4,5,6,7,8,9,10", 1, done, nullptr},
    {"one field alone", "1", 1, done, nullptr},
    {"no field", "", 1, done, nullptr},
    {"a bad time", "1,2024-06-01 12:30:05Z,3", 0, not_this_form, "invalid time field"},
    {"an empty time", "1,,3", 0, not_this_form, "invalid time field"},
    {"a bad time and a field more", "1,junk,3,4,5,6,7,8,9,10,11,12", 0, not_this_form, "invalid time field"},
};

TEST(columns_test, drops_a_row_of_too_many_fields_without_a_word) {
  for (const row_case &c : row_cases) {
    SCOPED_TRACE(c.name);
    row_result row;
    EXPECT_EQ(printed_by([&] { row = read_row(lat_first, c.row); }), "");
    EXPECT_EQ(row.result, c.result);
    EXPECT_STREQ(row.error, c.error);
    EXPECT_EQ(row.track.count, c.count);
  }
}

// The next row is read into the element that still has the values of the dropped row.
TEST(columns_test, begins_each_sample_with_zeros) {
  open_text lines(required_names + "\n1970-01-01T00:00:09Z,1,2,3,4,5,6,7,8,9,10,11\n,\n");
  column_actions actions;
  warning_buffer warnings;
  row_result result;
  ASSERT_EQ(parse_field_names(lines.file, actions, warnings, &result.error), done);
  ASSERT_TRUE(read_line(lines.file));
  EXPECT_EQ(append_gps_point(lines.file, actions, result.track, &result.error), done);
  ASSERT_EQ(result.track.count, 0U);
  result.track.points[0].pos_ecef = {1.0, 2.0, 3.0};
  result.track.points[0].turn_rate = 4.0;
  open_text empty("\n");
  EXPECT_EQ(append_gps_point(empty.file, actions, result.track, &result.error), done);
  ASSERT_EQ(result.error, nullptr);
  ASSERT_EQ(result.track.count, 1U);
  const gps_point &point = result.track.points[0];
  EXPECT_EQ(point.time, 0);
  EXPECT_EQ(point.pos_wgs84.x, 0.0);
  EXPECT_EQ(point.vel_ltp.z, 0.0);
  EXPECT_EQ(point.hacc, 0.0F);
  EXPECT_EQ(point.numsv, 0);
  EXPECT_EQ(point.pos_ecef.y, 0.0);
  EXPECT_EQ(point.turn_rate, 0.0);
}

TEST(columns_test, fails_when_memory_is_short_for_the_sample) {
  const names_result parsed = parse_names(required_names);
  ASSERT_EQ(parsed.result, done);
  open_text line("1970-01-01T00:00:00Z\n");
  row_result result;
  const allocation_limit limit(0);
  EXPECT_EQ(append_gps_point(line.file, parsed.actions, result.track, &result.error), no_memory);
  EXPECT_STREQ(result.error, "failed to realloc gps_points");
  EXPECT_EQ(result.track.count, 0U);
}

}  // namespace
}  // namespace tarvel
