#include "track/line_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/files.h"

namespace tarvel {
namespace {

using std::string_literals::operator""s;

struct lines_read {
  std::vector<std::string> lines;
  bool overflow = false;
};

lines_read read_lines(const std::string &text) {
  const file_handle stream = open_bytes(text);
  error_slot error = nullptr;
  track_file file;
  EXPECT_TRUE(open_track_stream(stream.get(), file, &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(file.overflow, 0);
  lines_read result;
  while (read_line(file)) result.lines.emplace_back(file.line);
  result.overflow = file.overflow != 0;
  return result;
}

// Splits a text that is in memory as a whole. Two different line ends next to each other are one.
std::vector<std::string> split_lines(const std::string &text) {
  std::vector<std::string> lines;
  for (std::size_t first = 0; first < text.size();) {
    const std::size_t last = text.find_first_of("\r\n", first);
    lines.emplace_back(text.substr(first, last - first).c_str());  // up to a NUL
    if (last == std::string::npos) break;
    const bool is_pair = last + 1 < text.size() && (text[last] ^ text[last + 1]) == ('\r' ^ '\n');
    first = last + (is_pair ? 2 : 1);
  }
  return lines;
}

struct line_case {
  const char *name;
  std::string text;
  std::vector<std::string> lines;
};

const line_case line_cases[] = {
    {"no byte", "", {}},
    {"a line without an end", "a", {"a"}},
    {"LF", "a\nb\n", {"a", "b"}},
    {"CR", "a\rb\r", {"a", "b"}},
    {"CRLF", "a\r\nb\r\n", {"a", "b"}},
    {"LFCR", "a\n\rb\n\r", {"a", "b"}},
    {"no end on the last line", "a\r\nb", {"a", "b"}},
    {"each in turn", "a\nb\rc\r\nd\n\re", {"a", "b", "c", "d", "e"}},
    {"LF alone", "\n", {""}},
    {"CR alone", "\r", {""}},
    {"CRLF alone", "\r\n", {""}},
    {"LFCR alone", "\n\r", {""}},
    {"LF twice", "a\n\nb", {"a", "", "b"}},
    {"CR twice", "a\r\rb", {"a", "", "b"}},
    {"CRLF twice", "a\r\n\r\nb", {"a", "", "b"}},
    {"LFCR twice", "a\n\r\n\rb", {"a", "", "b"}},
    {"CRLF and LF", "a\r\n\nb", {"a", "", "b"}},
    {"CRLF and CR", "a\r\n\rb", {"a", "", "b"}},
    {"CR CR LF", "a\r\r\nb", {"a", "", "b"}},
    {"LF LF CR", "a\n\n\rb", {"a", "", "b"}},
    {"LF three times", "\n\n\n", {"", "", ""}},
    {"a NUL ends the text of its line", "ab\0cd\nef\n"s, {"ab", "ef"}},
    {"a NUL at the start of a line", "\0ab\r\ncd"s, {"", "cd"}},
    {"a NUL between CR and LF", "ab\r\0\ncd"s, {"ab", "", "cd"}},
    {"a NUL alone", "\0"s, {""}},
    {"blanks and tabs stay", " a\t\n", {" a\t"}},
    {"a byte above 127", "\xFF\n\x80", {"\xFF", "\x80"}},
};

TEST(line_reader_test, cuts_at_every_kind_of_line_end) {
  for (const line_case &c : line_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(read_lines(c.text).lines, c.lines);
    EXPECT_EQ(split_lines(c.text), c.lines);  // the other tests rely on it
    EXPECT_FALSE(read_lines(c.text).overflow);
  }
}

// The first line has every length near that of the block, so that each of the texts above lies across the block's end.
TEST(line_reader_test, cuts_alike_across_the_end_of_the_block) {
  for (const line_case &c : line_cases) {
    SCOPED_TRACE(c.name);
    for (std::size_t before = 32750; before < 32770; ++before) {
      SCOPED_TRACE(before);
      const std::string text =
          "first\n" + std::string(before / 2, 'x') + "\n" + std::string(before - before / 2, 'y') + "\r\n" + c.text;
      ASSERT_EQ(read_lines(text).lines, split_lines(text));
    }
  }
}

TEST(line_reader_test, finds_the_lines_of_random_texts) {
  std::mt19937 random(20240601);
  const std::string alphabet = "\r\n\r\n\0,a$"s;
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    std::string text;
    const std::size_t size = random() % 70000;
    // Line ends are dense in some rounds and rare in others.
    const unsigned rarity = 1U << random() % 12;
    while (text.size() < size) text += random() % rarity == 0 ? alphabet[random() % alphabet.size()] : 'x';
    const lines_read result = read_lines(text);
    ASSERT_FALSE(result.overflow);
    ASSERT_EQ(result.lines, split_lines(text));
  }
}

struct long_line_case {
  const char *name;
  std::size_t length;  // without the line end
  const char *line_end;
  bool fits;
};

// The block has 32768 bytes, and a line that fills it with its end does not fit.
const long_line_case long_line_cases[] = {
    {"one byte of room", 32766, "\n", true},
    {"one byte of room with CR", 32766, "\r", true},
    {"one byte of room with CRLF", 32765, "\r\n", true},
    {"one byte of room with LFCR", 32765, "\n\r", true},
    {"one byte of room without an end", 32767, "", true},
    {"full with LF", 32767, "\n", false},
    {"full with CR", 32767, "\r", false},
    {"full with CRLF", 32766, "\r\n", false},
    {"full with LFCR", 32766, "\n\r", false},
    {"full without an end", 32768, "", false},
    {"the end is beyond the block", 32768, "\n", false},
    {"the CR fills it, the LF is beyond", 32767, "\r\n", false},
    {"far too long", 100000, "\n", false},
};

TEST(line_reader_test, stops_at_a_line_that_fills_the_block) {
  for (const long_line_case &c : long_line_cases) {
    SCOPED_TRACE(c.name);
    for (const std::string &before : {std::string(), std::string("short\n"), std::string("two\r\nlines\r\n")}) {
      SCOPED_TRACE(before);
      std::vector<std::string> expected = split_lines(before);
      const std::string line(c.length, 'x');
      if (c.fits) expected.push_back(line);
      const bool has_end = *c.line_end != '\0';
      if (c.fits && has_end) expected.emplace_back("behind");
      const lines_read result = read_lines(before + line + c.line_end + (has_end ? "behind\n" : ""));
      EXPECT_EQ(result.overflow, !c.fits);
      EXPECT_EQ(result.lines, expected);
    }
  }
}

TEST(line_reader_test, fails_without_memory_for_its_block) {
  const file_handle stream = open_bytes("a\n");
  const allocation_limit limit(0);
  error_slot error = nullptr;
  track_file file;
  EXPECT_FALSE(open_track_stream(stream.get(), file, &error));
  EXPECT_STREQ(error, "failed to malloc file.block_ptr");
}

struct field_case {
  const char *name;
  std::string line;
  std::vector<std::string> fields;
};

const field_case field_cases[] = {
    {"an empty line", "", {}},
    {"one field", "time", {"time"}},
    {"three fields", "time,lat,lon", {"time", "lat", "lon"}},
    {"an empty field between commas", "a,,b", {"a", "", "b"}},
    {"a leading comma", ",a", {"", "a"}},
    {"a trailing comma yields no further field", "a,", {"a"}},
    {"two trailing commas yield one", "a,,", {"a", ""}},
    {"a comma alone", ",", {""}},
    {"blanks belong to the field", " a , b ", {" a ", " b "}},
    {"semicolons and quotes are no separators", "\"a;b\",c", {"\"a;b\"", "c"}},
    {"a NUL ends the line", "a,b\0c,d"s, {"a", "b"}},
};

TEST(line_reader_test, cuts_fields_at_commas) {
  for (const field_case &c : field_cases) {
    SCOPED_TRACE(c.name);
    const std::string text = c.line + "\nnext,line";
    const file_handle stream = open_bytes(text);
    error_slot error = nullptr;
    track_file file;
    ASSERT_TRUE(open_track_stream(stream.get(), file, &error));
    ASSERT_TRUE(read_line(file));
    std::vector<std::string> fields;
    for (std::string_view field = next_field(file); field.data() != nullptr; field = next_field(file)) {
      fields.emplace_back(field.data());
      EXPECT_EQ(field, fields.back());  // the view has the length of the text
    }
    EXPECT_EQ(fields, c.fields);
    EXPECT_EQ(next_field(file).data(), nullptr);
    ASSERT_TRUE(read_line(file));
    EXPECT_EQ(next_field(file), "next");
  }
}

}  // namespace
}  // namespace tarvel
