// Containers on a disk that fails at each call in turn.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "container/tvl_file.h"
#include "support/container_bytes.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/pond_of.h"

namespace tarvel {
namespace {

std::vector<gps_point> two_samples() {
  std::vector<gps_point> samples(2);
  samples[0].time = 11;
  samples[1].time = 12;
  return samples;
}

course gate_of_two_points() { return course_with(0.5, {{1.0, 2.0, 0.0}, {3.0, 4.0, 0.0}}); }

// The messages when the n-th call of the C library and those after it fail, for n = 0, 1, 2 and so on until none fails.
template <typename reading>
std::vector<std::string> messages_of(c_call call, reading read) {
  std::vector<std::string> messages;
  for (std::size_t granted = 0;; ++granted) {
    const failing_call disk(call, granted, EIO);
    const error_slot error = read();
    if (disk.refused() == 0) return messages;
    messages.emplace_back(error == nullptr ? "nothing" : error);
  }
}

error_slot read_swoop(const std::string &bytes, outcome failure) {
  gps_track track;
  track.count = 7;
  const file_handle stream = open_bytes(bytes);
  error_slot error = nullptr;
  const outcome result = read_swoop_stream(stream.get(), track, &error);
  EXPECT_EQ(result, error == nullptr ? outcome::done : failure);
  EXPECT_EQ(track.count, error == nullptr ? 2U : 7U);
  return error;
}

error_slot read_gate(const std::string &bytes, outcome failure) {
  course gate;
  gate.theta = 7.0;
  const file_handle stream = open_bytes(bytes);
  error_slot error = nullptr;
  const outcome result = read_gate_stream(stream.get(), gate, &error);
  EXPECT_EQ(result, error == nullptr ? outcome::done : failure);
  EXPECT_EQ(gate.theta, error == nullptr ? 0.5 : 7.0);
  EXPECT_EQ(gate.pond.has_value(), error == nullptr);
  return error;
}

// Each part of the file takes one read. Two seeks go to the section, two find the size of the rest of the file.
TEST(tvl_failing_disk_test, names_the_part_of_a_swoop_that_cannot_be_read) {
  const std::string bytes = swoop_bytes(two_samples());
  const auto read_unreadable = [&] { return read_swoop(bytes, outcome::unreadable); };
  const auto read_unseekable = [&] { return read_swoop(bytes, outcome::not_this_form); };
  const std::vector<std::string> reads = {"failed to read TVL header", "failed to read section header table entry",
                                          "failed to read swoop header", "failed to read swoop sample",
                                          "failed to read swoop sample"};
  const std::vector<std::string> seeks = {"failed to read section header table entry", "failed to read swoop header",
                                          "failed to read swoop sample", "failed to read swoop sample"};
  const std::vector<std::string> tells = {"failed to read swoop sample", "failed to read swoop sample"};
  EXPECT_EQ(messages_of(c_call::fread, read_unreadable), reads);
  EXPECT_EQ(messages_of(c_call::fseeko, read_unseekable), seeks);
  EXPECT_EQ(messages_of(c_call::ftello, read_unseekable), tells);
}

TEST(tvl_failing_disk_test, names_the_part_of_a_gate_that_cannot_be_read) {
  const std::string bytes = gate_bytes(gate_of_two_points());
  const auto read_unreadable = [&] { return read_gate(bytes, outcome::unreadable); };
  const auto read_unseekable = [&] { return read_gate(bytes, outcome::not_this_form); };
  const std::vector<std::string> reads = {"failed to read TVL header", "failed to read section header table entry",
                                          "failed to read gate header", "failed to read gate sample",
                                          "failed to read gate sample"};
  const std::vector<std::string> seeks = {"failed to read section header table entry", "failed to read gate header",
                                          "failed to read gate sample", "failed to read gate sample"};
  const std::vector<std::string> tells = {"failed to read gate sample", "failed to read gate sample"};
  EXPECT_EQ(messages_of(c_call::fread, read_unreadable), reads);
  EXPECT_EQ(messages_of(c_call::fseeko, read_unseekable), seeks);
  EXPECT_EQ(messages_of(c_call::ftello, read_unseekable), tells);
}

// A disk that fails after this number of bytes: when the reader needs a later byte, it must not use the earlier ones.
TEST(tvl_failing_disk_test, uses_no_byte_of_a_file_that_cannot_be_read) {
  const std::string swoop = swoop_bytes(two_samples());
  const std::string gate = gate_bytes(gate_of_two_points());
  for (std::size_t position = 0; position < swoop.size(); ++position) {
    SCOPED_TRACE(position);
    gps_track track;
    error_slot error = nullptr;
    EXPECT_EQ(read_swoop_stream(open_failing_bytes(swoop, position).get(), track, &error), outcome::unreadable);
    EXPECT_NE(error, nullptr);
    EXPECT_EQ(track.points, nullptr);
  }
  for (std::size_t position = 0; position < gate.size(); ++position) {
    SCOPED_TRACE(position);
    course data;
    error_slot error = nullptr;
    EXPECT_EQ(read_gate_stream(open_failing_bytes(gate, position).get(), data, &error), outcome::unreadable);
    EXPECT_NE(error, nullptr);
    EXPECT_FALSE(data.pond);
  }
}

TEST(tvl_failing_disk_test, names_the_part_of_a_swoop_that_cannot_be_written) {
  const std::vector<std::string> expected = {"failed to write TVL header", "failed to write section header table entry",
                                             "failed to write swoop header", "failed to write swoop sample",
                                             "failed to write swoop sample"};
  const std::vector<std::string> messages = messages_of(c_call::fwrite, [] {
    error_slot error = nullptr;
    const memory_output output;
    write_swoop_stream(output.stream(), two_samples(), &error);
    return error;
  });
  EXPECT_EQ(messages, expected);
}

TEST(tvl_failing_disk_test, names_the_part_of_a_gate_that_cannot_be_written) {
  const course gate = gate_of_two_points();
  const std::vector<std::string> expected = {"failed to write TVL header", "failed to write section header table entry",
                                             "failed to write gate header", "failed to write gate sample",
                                             "failed to write gate sample"};
  const std::vector<std::string> messages = messages_of(c_call::fwrite, [&] {
    error_slot error = nullptr;
    const memory_output output;
    write_gate_stream(output.stream(), gate, &error);
    return error;
  });
  EXPECT_EQ(messages, expected);
}

}  // namespace
}  // namespace tarvel
