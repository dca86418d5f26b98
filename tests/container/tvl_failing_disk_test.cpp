// Containers on a disk that fails at each call in turn.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "container/tvl_file.h"
#include "support/failing_calls.h"
#include "support/files.h"

namespace tarvel {
namespace {

std::vector<gps_point> two_samples() {
  std::vector<gps_point> samples(2);
  samples[0].time = 11;
  samples[1].time = 12;
  return samples;
}

void write_swoop() {
  error_slot error = nullptr;
  write_swoop_file("run.tvl", two_samples(), &error);
  ASSERT_EQ(error, nullptr);
}

void write_gate() {
  gate_file_data gate;
  gate.theta = 0.5;
  ASSERT_TRUE(try_zeroed(gate.pond, 3));
  gate.pond[0] = {1.0, 2.0, 0.0};
  gate.pond[1] = {3.0, 4.0, 0.0};
  error_slot error = nullptr;
  write_gate_file("walk.tvl", gate, &error);
  ASSERT_EQ(error, nullptr);
}

// What a read of the file says when the n-th call and those after it fail, for n = 0, 1, 2 and so on until none does.
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

error_slot read_swoop() {
  gps_track track;
  track.count = 7;
  const std::string bytes = read_text("run.tvl");
  const file_handle stream = open_bytes(bytes);
  error_slot error = nullptr;
  read_swoop_stream(stream.get(), track, &error);
  EXPECT_EQ(track.count, error == nullptr ? 2U : 7U);
  return error;
}

error_slot read_gate() {
  gate_file_data gate;
  gate.theta = 7.0;
  const std::string bytes = read_text("walk.tvl");
  const file_handle stream = open_bytes(bytes);
  error_slot error = nullptr;
  read_gate_stream(stream.get(), gate, &error);
  EXPECT_EQ(gate.theta, error == nullptr ? 0.5 : 7.0);
  EXPECT_EQ(gate.pond != nullptr, error == nullptr);
  return error;
}

// Each part of the file takes one read; two seeks lead to the section, two measure what is left of the file.
TEST(tvl_failing_disk_test, names_the_part_of_a_swoop_that_cannot_be_read) {
  const temp_dir dir;
  write_swoop();
  const std::vector<std::string> reads = {"failed to read TVL header", "failed to read section header table entry",
                                          "failed to read swoop header", "failed to read swoop sample",
                                          "failed to read swoop sample"};
  const std::vector<std::string> seeks = {"failed to read section header table entry", "failed to read swoop header",
                                          "failed to read swoop sample", "failed to read swoop sample"};
  const std::vector<std::string> tells = {"failed to read swoop sample", "failed to read swoop sample"};
  EXPECT_EQ(messages_of(c_call::fread, read_swoop), reads);
  EXPECT_EQ(messages_of(c_call::fseeko, read_swoop), seeks);
  EXPECT_EQ(messages_of(c_call::ftello, read_swoop), tells);
}

TEST(tvl_failing_disk_test, names_the_part_of_a_gate_that_cannot_be_read) {
  const temp_dir dir;
  write_gate();
  const std::vector<std::string> reads = {"failed to read TVL header", "failed to read section header table entry",
                                          "failed to read gate header", "failed to read gate sample",
                                          "failed to read gate sample"};
  const std::vector<std::string> seeks = {"failed to read section header table entry", "failed to read gate header",
                                          "failed to read gate sample", "failed to read gate sample"};
  const std::vector<std::string> tells = {"failed to read gate sample", "failed to read gate sample"};
  EXPECT_EQ(messages_of(c_call::fread, read_gate), reads);
  EXPECT_EQ(messages_of(c_call::fseeko, read_gate), seeks);
  EXPECT_EQ(messages_of(c_call::ftello, read_gate), tells);
}

TEST(tvl_failing_disk_test, names_the_part_of_a_swoop_that_cannot_be_written) {
  const temp_dir dir;
  const std::vector<std::string> expected = {"failed to write TVL header", "failed to write section header table entry",
                                             "failed to write swoop header", "failed to write swoop sample",
                                             "failed to write swoop sample"};
  const std::vector<std::string> messages = messages_of(c_call::fwrite, [] {
    error_slot error = nullptr;
    write_swoop_file("run.tvl", two_samples(), &error);
    return error;
  });
  EXPECT_EQ(messages, expected);
}

TEST(tvl_failing_disk_test, names_the_part_of_a_gate_that_cannot_be_written) {
  const temp_dir dir;
  write_gate();
  gate_file_data gate;
  error_slot read_error = nullptr;
  read_gate_file("walk.tvl", gate, &read_error);
  ASSERT_EQ(read_error, nullptr);
  const std::vector<std::string> expected = {"failed to write TVL header", "failed to write section header table entry",
                                             "failed to write gate header", "failed to write gate sample",
                                             "failed to write gate sample"};
  const std::vector<std::string> messages = messages_of(c_call::fwrite, [&] {
    error_slot error = nullptr;
    write_gate_file("copy.tvl", gate, &error);
    return error;
  });
  EXPECT_EQ(messages, expected);
}

}  // namespace
}  // namespace tarvel
