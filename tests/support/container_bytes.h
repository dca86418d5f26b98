// Makes .tvl containers in memory.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "container/tvl_file.h"
#include "support/files.h"

namespace tarvel {

[[nodiscard]] inline std::string gate_bytes(const course &gate) {
  return bytes_written_by([&](std::FILE *stream) {
    error_slot error = "not cleared";
    write_gate_stream(stream, gate, &error);
    EXPECT_STREQ(error, nullptr);
  });
}

[[nodiscard]] inline std::string swoop_bytes(std::span<const gps_point> samples) {
  return bytes_written_by([&](std::FILE *stream) {
    error_slot error = "not cleared";
    write_swoop_stream(stream, samples, &error);
    EXPECT_STREQ(error, nullptr);
  });
}

}  // namespace tarvel
