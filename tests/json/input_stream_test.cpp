#include "json/input_stream.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "support/files.h"

namespace tarvel {
namespace {

// FIPS 180-2: of a million times the letter a, and of no bytes.
const char *const digest_of_a_million = "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";
const char *const digest_of_nothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

struct jump_case {
  const char *name;
  std::vector<off_t> places;  // to which a reader jumps; it reads 100,000 bytes from each
};

const jump_case jump_cases[] = {
    {"not read at all", {}},
    {"the beginning", {0}},
    {"the beginning again and again", {0, 0, 0}},
    {"on and back", {0, 50'000, 200'000, 100'000, 0}},
    {"over most of it", {900'000}},
    {"beyond the end", {1'000'000, 2'000'000}},
};

TEST(input_stream_test, digests_each_byte_once) {
  const temp_dir folder;
  write_text("run.csv", std::string(1'000'000, 'a'));
  for (const jump_case &c : jump_cases) {
    SCOPED_TRACE(c.name);
    input_stream input;
    error_slot error = "left over";
    open_input_stream("run.csv", input, &error);
    ASSERT_STREQ(error, nullptr);
    std::string bytes(100'000, ' ');
    for (const off_t place : c.places) {
      ASSERT_EQ(fseeko(input.stream.get(), place, SEEK_SET), 0);
      const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), input.stream.get());
      EXPECT_EQ(bytes.substr(0, got), std::string(place < 1'000'000 ? bytes.size() : 0, 'a'));
    }
    EXPECT_STREQ(finish_digest(input).text, digest_of_a_million);
    EXPECT_EQ(std::ferror(input.stream.get()), 0);
  }
}

TEST(input_stream_test, digests_a_file_without_bytes) {
  const temp_dir folder;
  write_text("run.csv", "");
  input_stream input;
  error_slot error = nullptr;
  open_input_stream("run.csv", input, &error);
  EXPECT_STREQ(finish_digest(input).text, digest_of_nothing);
}

// Reading this file at offset 0 fails, since no memory of the process is mapped there.
TEST(input_stream_test, fails_where_nothing_can_be_opened_or_read) {
  const temp_dir folder;
  error_slot error = nullptr;
  input_stream absent;
  open_input_stream("run.csv", absent, &error);
  EXPECT_STREQ(error, "failed to open file: run.csv");
  input_stream unreadable;
  open_input_stream("/proc/self/mem", unreadable, &error);
  EXPECT_STREQ(error, nullptr);
  static_cast<void>(finish_digest(unreadable));
  EXPECT_NE(std::ferror(unreadable.stream.get()), 0);
}

}  // namespace
}  // namespace tarvel
