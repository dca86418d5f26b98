#include "loader/track_loader.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/container_bytes.h"
#include "support/files.h"
#include "support/pond_of.h"
#include "support/refusals.h"
#include "support/warnings.h"

namespace tarvel {
namespace {

using enum outcome;

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string row = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string header_lines = names + "\n,(deg)\n" + row + "\n" + row + "\n";
const std::string tagged_lines = "$FLYS,1\n$COL,GNSS," + names + "\n$GNSS," + row + "\n";

struct text_case {
  const char *name;
  std::string text;
  std::uint32_t count;
  outcome result;
  error_slot error;
  const char *warnings = "";
};

const text_case text_cases[] = {
    {"header lines", header_lines, 2, done, nullptr},
    {"tagged lines", tagged_lines, 1, done, nullptr},
    {"header lines that begin with the tag sign", "$x," + names + "\n\n1," + row + "\n2," + row + "\n", 2, done,
     nullptr, "WARNING: unknown field ($x)\n"},
    {"header lines that look like tagged ones", "$COL,GNSS," + names + "\n$\n1,2," + row + "\n3,4," + row + "\n", 2,
     done, nullptr, "WARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"},
    {"an unknown name that both readers meet", "$COL,GNSS,a," + names + "\n1\n1,2,3," + row + "\n", 1, done, nullptr,
     "WARNING: unknown field (a)\nWARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"
     "WARNING: unknown field (a)\n"},
    {"an empty file", "", 0, not_this_form, "missing field names"},
    {"some other text", "hello\n", 0, not_this_form, "invalid field names", "WARNING: unknown field (hello)\n"},
    {"tagged lines without a sample", "$COL,GNSS," + names + "\n", 0, not_this_form, "missing field units",
     "WARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"},
    {"a container that is cut", "uTVL", 0, not_this_form, "invalid field names", "WARNING: unknown field (uTVL)\n"},
};

// The position of the stream makes no difference.
TEST(track_loader_test, decides_by_content) {
  for (const text_case &c : text_cases) {
    SCOPED_TRACE(c.name);
    for (const bool is_gate : {false, true}) {
      for (const bool is_at_end : {false, true}) {
        SCOPED_TRACE(is_gate);
        SCOPED_TRACE(is_at_end);
        gate_file_data gate;
        gps_track track;
        warning_buffer warnings;
        error_slot error = "not cleared";
        const file_handle stream = open_bytes(c.text);
        if (is_at_end) std::fseek(stream.get(), 0, SEEK_END);
        const outcome result = is_gate ? load_gate_stream(stream.get(), gate, warnings, &error)
                                       : load_swoop_stream(stream.get(), track, warnings, &error);
        EXPECT_EQ(result, c.result);
        EXPECT_STREQ(error, c.error);
        EXPECT_EQ(warnings.text(), c.warnings);
        const gps_track &loaded = is_gate ? gate.track : track;
        ASSERT_EQ(loaded.count, c.count);
        EXPECT_EQ(loaded.points != nullptr, c.count > 0);
        if (c.count > 0) {
          EXPECT_EQ(loaded.points[0].time, 1000);
        }
        EXPECT_FALSE(gate.course.pond);
        EXPECT_EQ(gate.course.theta, 0.0);
      }
    }
  }
}

TEST(track_loader_test, loads_a_swoop_container) {
  std::vector<gps_point> samples(2);
  samples[1].time = 7;
  const std::string bytes = swoop_bytes(samples);
  for (const long position : {0L, 10L}) {
    SCOPED_TRACE(position);
    const file_handle stream = open_bytes(bytes);
    std::fseek(stream.get(), position, SEEK_SET);
    gps_track track;
    warning_buffer warnings;
    error_slot error = "not cleared";
    EXPECT_EQ(load_swoop_stream(stream.get(), track, warnings, &error), done);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(warnings.text(), "");
    ASSERT_EQ(track.count, 2U);
    EXPECT_EQ(track.points[1].time, 7);
  }
}

std::string walk_bytes() {
  course written = course_with(0.5, {{1.0, 2.0, 0.0}});
  written.matrix.m[1][2] = 3.0;
  return gate_bytes(written);
}

TEST(track_loader_test, loads_a_gate_container) {
  const std::string bytes = walk_bytes();
  for (const long position : {0L, 10L}) {
    SCOPED_TRACE(position);
    const file_handle stream = open_bytes(bytes);
    std::fseek(stream.get(), position, SEEK_SET);
    gate_file_data gate;
    warning_buffer warnings;
    error_slot error = "not cleared";
    EXPECT_EQ(load_gate_stream(stream.get(), gate, warnings, &error), done);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(warnings.text(), "");
    EXPECT_EQ(gate.course.theta, 0.5);
    EXPECT_EQ(gate.course.matrix.m[1][2], 3.0);
    ASSERT_TRUE(gate.course.pond);
    EXPECT_EQ(gate.course.pond->count, 1U);
    EXPECT_EQ(gate.track.count, 0U);
    EXPECT_EQ(gate.track.points, nullptr);
  }
}

// The message is that of the last reader: the container's first line is not a line of names.
TEST(track_loader_test, refuses_a_container_of_the_other_kind) {
  const std::string run = swoop_bytes(std::vector<gps_point>(1));
  const std::string walk = gate_bytes(course());
  gate_file_data gate;
  gps_track track;
  warning_buffer run_warnings;
  warning_buffer walk_warnings;
  error_slot error = nullptr;
  EXPECT_EQ(load_gate_stream(open_bytes(run).get(), gate, run_warnings, &error), not_this_form);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(run_warnings.text(), "WARNING: unknown field (uTVL)\n");
  EXPECT_EQ(load_swoop_stream(open_bytes(walk).get(), track, walk_warnings, &error), not_this_form);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(walk_warnings.text(), "WARNING: unknown field (uTVL)\n");
}

TEST(track_loader_test, sets_the_kind_of_the_track) {
  const std::pair<std::string, track_kind> kinds[] = {
      {swoop_bytes(std::vector<gps_point>(1)), track_kind::container},
      {header_lines, track_kind::header_lines},
      {tagged_lines, track_kind::tagged_lines},
  };
  gps_track track;
  for (const auto &[bytes, kind] : kinds) {
    warning_buffer warnings;
    error_slot error = nullptr;
    EXPECT_EQ(load_swoop_stream(open_bytes(bytes).get(), track, warnings, &error), done);
    EXPECT_EQ(track.kind, kind);
  }
}

TEST(track_loader_test, leaves_the_target_when_it_fails) {
  gps_track track;
  track.kind = track_kind::container;
  ASSERT_TRUE(try_zeroed(track.points, 1));
  track.points[0].time = 42;
  track.count = 1;
  warning_buffer warnings;
  error_slot error = nullptr;
  EXPECT_EQ(load_swoop_stream(open_bytes(names + "\n\n").get(), track, warnings, &error), not_this_form);
  EXPECT_STREQ(error, "no GPS points found");
  ASSERT_EQ(track.count, 1U);
  EXPECT_EQ(track.points[0].time, 42);
  EXPECT_EQ(track.kind, track_kind::container);
}

struct memory_case {
  const char *name;
  std::string bytes;
  std::vector<std::string> messages;
};

const std::string long_name(1000, 'x');

// Each of the two text readers allocates its block, the columns and the samples.
const memory_case memory_cases[] = {
    {"tagged lines",
     tagged_lines,
     {"failed to malloc file.block_ptr", "invalid field names", "failed to realloc gps_points"}},
    {"header lines",
     header_lines,
     {"failed to malloc file.block_ptr", "invalid field names", "failed to realloc gps_points"}},
    {"tagged lines with a long warning",
     "$COL,GNSS," + names + "," + long_name + "\n$GNSS," + row + "\n",
     {"failed to malloc file.block_ptr", "invalid field names", "realloc failed", "failed to realloc gps_points"}},
    {"a container", swoop_bytes(std::vector<gps_point>(1)), {"malloc() failed"}},
};

// After a reader fails for lack of memory, another one might accept the stream in another format, with warnings.
TEST(track_loader_test, tries_no_other_reader_when_memory_is_short) {
  for (const memory_case &c : memory_cases) {
    SCOPED_TRACE(c.name);
    const auto attempt = [&](std::size_t granted) {
      gps_track track;
      warning_buffer warnings;
      error_slot error = nullptr;
      const allocation_limit limit(granted);
      const outcome result = load_swoop_stream(open_bytes(c.bytes).get(), track, warnings, &error);
      EXPECT_EQ(result, error == nullptr ? done : no_memory);
      EXPECT_EQ(warnings.text().find("unknown field ($COL)"), std::string::npos);
      EXPECT_EQ(warnings.text().find("unknown field (uTVL)"), std::string::npos);
      EXPECT_EQ(track.count > 0, error == nullptr);
      EXPECT_EQ(track.points != nullptr, error == nullptr);
      return error;
    };
    EXPECT_EQ(messages_of_refusals(attempt), c.messages);
  }
}

TEST(track_loader_test, tries_no_other_reader_when_memory_is_short_for_a_course) {
  gate_file_data gate;
  warning_buffer warnings;
  error_slot error = nullptr;
  const std::string bytes = walk_bytes();
  const allocation_limit limit(0);
  EXPECT_EQ(load_gate_stream(open_bytes(bytes).get(), gate, warnings, &error), no_memory);
  EXPECT_STREQ(error, "malloc() failed");
  EXPECT_EQ(warnings.text(), "");
}

struct failing_disk_case {
  const char *name;
  std::string bytes;
  std::size_t first;  // the disk fails at this byte, and in turn at each multiple of the step after it
  std::size_t step;
  error_slot error;
  const char *warnings;
};

std::string many_rows(const std::string &head, const std::string &prefix) {
  std::string text = head;
  while (text.size() < 70000) text += prefix + row + "\n";
  return text;
}

// The text readers read blocks of 32768 bytes. That of tagged lines has no use for the second block of the others.
const failing_disk_case failing_disk_cases[] = {
    {"a container's header", swoop_bytes(std::vector<gps_point>(2)), 0, 1, "failed to read TVL header", ""},
    {"tagged lines", many_rows("$COL,GNSS,foo," + names + "\n", "$GNSS,1,"), 26, 1009, "failed to read track",
     "WARNING: unknown field (foo)\n"},
    {"header lines", many_rows("foo," + names + "\n\n", "1,"), 32768, 1009, "failed to read track",
     "WARNING: unknown field (foo)\n"},
};

// What a later reader makes of the bytes so far would pass for the whole of them.
TEST(track_loader_test, tries_no_other_reader_when_the_disk_fails) {
  for (const failing_disk_case &c : failing_disk_cases) {
    SCOPED_TRACE(c.name);
    const std::size_t last = c.first == 0 ? 26 : c.bytes.size();
    for (std::size_t position = c.first; position < last; position += c.step) {
      SCOPED_TRACE(position);
      for (const bool is_gate : {false, true}) {
        gate_file_data gate;
        gps_track track;
        warning_buffer warnings;
        error_slot error = nullptr;
        const file_handle stream = open_failing_bytes(c.bytes, position);
        const outcome result = is_gate ? load_gate_stream(stream.get(), gate, warnings, &error)
                                       : load_swoop_stream(stream.get(), track, warnings, &error);
        EXPECT_EQ(result, unreadable);
        EXPECT_STREQ(error, c.error);
        if (position >= 100) {
          EXPECT_EQ(warnings.text(), c.warnings);
        }
        EXPECT_EQ(track.points, nullptr);
        EXPECT_EQ(gate.track.points, nullptr);
      }
    }
  }
}

}  // namespace
}  // namespace tarvel
