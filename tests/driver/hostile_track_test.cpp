// Every cut and every flipped bit of small inputs, from the bytes to the report: each must give a message or a report.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "driver/modes.h"
#include "formats/course_file.h"
#include "support/container_bytes.h"
#include "support/files.h"
#include "support/simulator.h"
#include "support/warnings.h"
#include "swoop/analysis.h"
#include "swoop/report.h"
#include "swoop/trimmed_range.h"
#include "track/delimited_reader.h"

namespace tarvel {
namespace {

using stream_reader = outcome (*)(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

outcome read_container_stream(std::FILE *stream, gps_track &track, text_buffer &, error_slot *error) {
  return read_swoop_stream(stream, track, error);
}

// Counts the kinds of results, to check that a test had all of them.
struct tally {
  std::size_t unread = 0;
  std::size_t unfit = 0;
  std::size_t reported = 0;
};

void expect_message(error_slot error) { EXPECT_TRUE(std::strlen(error) > 0 && std::strchr(error, '\n') == nullptr); }

void expect_report(const swoop &run) {
  error_slot error = nullptr;
  const owned_text report = format_swoop_report(run, false, &error);
  ASSERT_STREQ(error, nullptr);
  EXPECT_EQ(std::count(report.get(), report.get() + std::strlen(report.get()), '\n'), 17);
  const sample_range range = trimmed_range(run);
  EXPECT_LT(range.first, range.end);
  EXPECT_LE(range.end, run.track_len);
  EXPECT_LE(run.top_of_turn, run.stop);
  EXPECT_LT(run.stop, run.track_len);
}

void analyse_bytes(std::string_view bytes, stream_reader read, std::int32_t gate_type, const course &flown,
                   tally &seen) {
  const file_handle stream = open_bytes(bytes);
  gps_track track;
  error_slot error = nullptr;
  warning_buffer warnings;
  const outcome result = read(stream.get(), track, warnings, &error);
  EXPECT_EQ(result, error == nullptr ? outcome::done : outcome::not_this_form);
  if (error) {
    expect_message(error);
    ++seen.unread;
    return;
  }
  swoop run;
  run.track = std::move(track.points);
  run.track_len = track.count;
  analyze_swoop(run, gate_type, flown.matrix, flown.theta, &error);
  if (error) {
    expect_message(error);
    ++seen.unfit;
    return;
  }
  expect_report(run);
  ++seen.reported;
}

course small_course() {
  const std::string text = simulated_course(small_run());
  course result;
  course_link link;
  error_slot error = nullptr;
  EXPECT_EQ(read_course(open_bytes(text).get(), "matrix.txt", "run.csv", result, link, &error), course_answer::here);
  EXPECT_STREQ(error, nullptr);
  return result;
}

std::string small_track(track_form form) {
  simulated_run run = small_run();
  run.form = form;
  return simulated_track(run);
}

std::string small_container() {
  const std::string text = small_track(track_form::header_lines);
  const file_handle stream = open_bytes(text);
  gps_track track;
  warning_buffer warnings;
  error_slot error = nullptr;
  EXPECT_EQ(read_track_header_csv_stream(stream.get(), track, warnings, &error), outcome::done);
  return swoop_bytes({track.points.get(), track.count});
}

void expect_answer_to_every_cut(const std::string &bytes, stream_reader read, bool cut_may_be_reported) {
  const course loaded = small_course();
  tally seen;
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    SCOPED_TRACE(length);
    analyse_bytes(std::string_view(bytes).substr(0, length), read, gate_type_course, loaded, seen);
  }
  EXPECT_GT(seen.unread, 0U);
  EXPECT_GE(seen.reported, 1U);
  if (!cut_may_be_reported) {
    EXPECT_EQ(seen.unread, bytes.size());
  }
}

// Flips every bit up to thorough_bytes, and from there on one bit a byte.
void expect_answer_to_flipped_bits(std::string bytes, std::size_t thorough_bytes, stream_reader read) {
  const course loaded = small_course();
  tally seen;
  for (std::size_t bit = 0; bit < 8 * bytes.size(); bit += bit < 8 * thorough_bytes ? 1 : 9) {
    SCOPED_TRACE(bit);
    const char kept = bytes[bit / 8];
    bytes[bit / 8] = static_cast<char>(kept ^ (1 << bit % 8));
    analyse_bytes(bytes, read, bit % 3 == 0 ? gate_type_implicit : gate_type_course, loaded, seen);
    bytes[bit / 8] = kept;
  }
  EXPECT_GT(seen.unread, 0U);
  EXPECT_GT(seen.unfit, 0U);
  EXPECT_GT(seen.reported, 0U);
}

TEST(hostile_track_test, answers_every_cut_of_header_lines) {
  expect_answer_to_every_cut(small_track(track_form::header_lines), read_track_header_csv_stream, true);
}

TEST(hostile_track_test, answers_every_cut_of_tagged_lines) {
  expect_answer_to_every_cut(small_track(track_form::tagged_lines), read_track_tagged_stream, true);
}

TEST(hostile_track_test, answers_every_cut_of_a_container) {
  expect_answer_to_every_cut(small_container(), read_container_stream, false);
}

TEST(hostile_track_test, answers_every_flipped_bit_of_header_lines) {
  const std::string track = small_track(track_form::header_lines);
  expect_answer_to_flipped_bits(track, track.size(), read_track_header_csv_stream);
}

// The rows are read as in the other format; only the first lines and the tags differ.
TEST(hostile_track_test, answers_flipped_bits_of_tagged_lines) {
  expect_answer_to_flipped_bits(small_track(track_form::tagged_lines), 400, read_track_tagged_stream);
}

TEST(hostile_track_test, answers_every_flipped_bit_of_a_container) {
  const std::string container = small_container();
  expect_answer_to_flipped_bits(container, container.size(), read_container_stream);
}

// A damaged course is only read; most of them are still courses at another place.
void read_damaged_course(std::string_view text, tally &seen) {
  course result;
  result.theta = 77.0;
  course_link link;
  error_slot error = nullptr;
  const course_answer answer = read_course(open_bytes(text).get(), "matrix.txt", "run.csv", result, link, &error);
  if (error) {
    expect_message(error);
    EXPECT_EQ(answer, course_answer::here);
    ++seen.unread;
  } else {
    ++seen.reported;
  }
  EXPECT_EQ(result.theta == 77.0, error != nullptr || answer != course_answer::here);
}

TEST(hostile_track_test, answers_every_cut_and_every_flipped_bit_of_a_course) {
  const std::string text = "// course\n\n" + simulated_course(small_run()) +
                           "theta =  -4.99707438\n(  81.3,   -2.3),  (  80.9,   -0.7),\n1 - \"other.txt\"\n";
  tally seen;
  for (std::size_t length = 0; length < text.size(); ++length) {
    SCOPED_TRACE(length);
    read_damaged_course(std::string_view(text).substr(0, length), seen);
  }
  for (std::size_t bit = 0; bit < 8 * text.size(); ++bit) {
    SCOPED_TRACE(bit);
    std::string damaged = text;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    read_damaged_course(damaged, seen);
  }
  EXPECT_GT(seen.unread, 0U);
  EXPECT_GT(seen.reported, 0U);
}

}  // namespace
}  // namespace tarvel
