#include "loader/track_loader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/files.h"

namespace tarvel {
namespace {

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string row = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string header_lines = names + "\n,(deg)\n" + row + "\n" + row + "\n";
const std::string tagged_lines = "$FLYS,1\n$COL,GNSS," + names + "\n$GNSS," + row + "\n";

struct text_case {
  const char *name;
  const char *path;
  std::string text;
  std::uint32_t count;
  error_slot error;
  const char *printed = "";
};

const text_case text_cases[] = {
    {"header lines", "run.csv", header_lines, 2, nullptr},
    {"tagged lines", "tagged.csv", tagged_lines, 1, nullptr},
    {"header lines under another name", "run.tvl", header_lines, 2, nullptr},
    {"tagged lines under another name", "tagged.tvl", tagged_lines, 1, nullptr},
    {"header lines that begin with the tag sign", "sign.csv", "$x," + names + "\n\n1," + row + "\n2," + row + "\n", 2,
     nullptr, "WARNING: unknown field ($x)\n"},
    {"header lines that look like tagged ones", "both.csv",
     "$COL,GNSS," + names + "\n$\n1,2," + row + "\n3,4," + row + "\n", 2, nullptr,
     "WARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"},
    {"an empty file", "empty.csv", "", 0, "missing field names"},
    {"some other text", "text.csv", "hello\n", 0, "invalid field names", "WARNING: unknown field (hello)\n"},
    {"tagged lines without a sample", "none.csv", "$COL,GNSS," + names + "\n", 0, "missing field units",
     "WARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"},
    {"a container that is cut", "cut.tvl", "uTVL", 0, "invalid field names", "WARNING: unknown field (uTVL)\n"},
};

TEST(track_loader_test, decides_by_content) {
  const temp_dir dir;
  for (const text_case &c : text_cases) {
    SCOPED_TRACE(c.name);
    write_text(c.path, c.text);
    for (const bool is_gate : {false, true}) {
      SCOPED_TRACE(is_gate);
      gate_file_data gate;
      gps_track track;
      error_slot error = "not cleared";
      EXPECT_EQ(printed_by([&] {
                  if (is_gate) {
                    load_gate_track(c.path, gate, &error);
                  } else {
                    load_swoop_track(c.path, track, &error);
                  }
                }),
                c.printed);
      EXPECT_STREQ(error, c.error);
      const gps_track &loaded = is_gate ? gate.track : track;
      ASSERT_EQ(loaded.count, c.count);
      EXPECT_EQ(loaded.points != nullptr, c.count > 0);
      if (c.count > 0) {
        EXPECT_EQ(loaded.points[0].time, 1000);
      }
      EXPECT_EQ(gate.pond, nullptr);
      EXPECT_EQ(gate.theta, 0.0);
    }
  }
}

TEST(track_loader_test, loads_a_swoop_container) {
  const temp_dir dir;
  std::vector<gps_point> samples(2);
  samples[1].time = 7;
  error_slot error = nullptr;
  write_swoop_file("run.csv", samples, &error);
  gps_track track;
  load_swoop_track("run.csv", track, &error);
  EXPECT_EQ(error, nullptr);
  ASSERT_EQ(track.count, 2U);
  EXPECT_EQ(track.points[1].time, 7);
}

TEST(track_loader_test, loads_a_gate_container) {
  const temp_dir dir;
  gate_file_data written;
  written.theta = 0.5;
  written.matrix.m[1][2] = 3.0;
  ASSERT_TRUE(try_zeroed(written.pond, 2));
  written.pond[0] = {1.0, 2.0, 0.0};
  error_slot error = nullptr;
  write_gate_file("walk.csv", written, &error);
  gate_file_data gate;
  load_gate_track("walk.csv", gate, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(gate.theta, 0.5);
  EXPECT_EQ(gate.matrix.m[1][2], 3.0);
  EXPECT_EQ(pond_points(gate.pond.get()).size(), 1U);
  EXPECT_EQ(gate.track.count, 0U);
  EXPECT_EQ(gate.track.points, nullptr);
}

// The words are the last reader's: the container's first line is no line of names.
TEST(track_loader_test, refuses_a_container_of_the_other_kind) {
  const temp_dir dir;
  error_slot error = nullptr;
  write_swoop_file("run.tvl", std::vector<gps_point>(1), &error);
  write_gate_file("walk.tvl", gate_file_data(), &error);
  gate_file_data gate;
  gps_track track;
  EXPECT_EQ(printed_by([&] { load_gate_track("run.tvl", gate, &error); }), "WARNING: unknown field (uTVL)\n");
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(printed_by([&] { load_swoop_track("walk.tvl", track, &error); }), "WARNING: unknown field (uTVL)\n");
  EXPECT_STREQ(error, "invalid field names");
}

TEST(track_loader_test, names_the_file_that_is_not_there) {
  const temp_dir dir;
  gate_file_data gate;
  gps_track track;
  error_slot error = nullptr;
  load_gate_track("nowhere.csv", gate, &error);
  EXPECT_STREQ(error, "failed to open file: nowhere.csv");
  error = nullptr;
  load_swoop_track("nowhere.csv", track, &error);
  EXPECT_STREQ(error, "failed to open file: nowhere.csv");
}

TEST(track_loader_test, leaves_the_target_when_it_fails) {
  const temp_dir dir;
  write_text("bad.csv", names + "\n\n");
  gps_track track;
  ASSERT_TRUE(try_zeroed(track.points, 1));
  track.points[0].time = 42;
  track.count = 1;
  error_slot error = nullptr;
  load_swoop_track("bad.csv", track, &error);
  EXPECT_STREQ(error, "no GPS points found");
  ASSERT_EQ(track.count, 1U);
  EXPECT_EQ(track.points[0].time, 42);
}

TEST(track_loader_test, fails_wherever_memory_is_short) {
  const temp_dir dir;
  write_text("run.csv", header_lines);
  std::size_t granted = 0;
  for (error_slot error = ""; error != nullptr; ++granted) {
    SCOPED_TRACE(granted);
    ASSERT_LT(granted, 20U);
    gps_track track;
    const allocation_limit limit(granted);
    load_swoop_track("run.csv", track, &error);
    EXPECT_EQ(track.count, error == nullptr ? 2U : 0U);
    EXPECT_EQ(track.points != nullptr, error == nullptr);
  }
  EXPECT_GT(granted, 3U);
}

// A reader that runs out of memory might leave the file to one that takes it for something else.
TEST(track_loader_test, tries_no_other_reader_when_memory_is_short) {
  const temp_dir dir;
  error_slot error = nullptr;
  write_swoop_file("run.tvl", std::vector<gps_point>(1), &error);
  // The first requests remember the file as an input; the last is for its samples.
  error_slot last_error = nullptr;
  error = "";
  for (std::size_t granted = 0; error != nullptr; ++granted) {
    SCOPED_TRACE(granted);
    ASSERT_LT(granted, 5U);
    gps_track track;
    last_error = error;
    const std::string printed = printed_by([&] {
      const allocation_limit limit(granted);
      load_swoop_track("run.tvl", track, &error);
    });
    EXPECT_EQ(printed, "");
  }
  EXPECT_STREQ(last_error, "malloc() failed");
}

}  // namespace
}  // namespace tarvel
