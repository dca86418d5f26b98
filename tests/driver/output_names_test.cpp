#include "driver/output_names.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

struct extension_case {
  const char *filename;
  const char *extension;
  const char *expected;
};

const extension_case extension_cases[] = {
    {"run.csv", "kml", "run.kml"},
    {"a.csv", "txt", "a.txt"},
    {"RUN.CSV", "pdf", "RUN.pdf"},
    {"run.kml", "kml", "run.kml"},
    {"run.2024.csv", "tvl", "run.2024.tvl"},
    {"folder.csv/run.csv", "kml", "folder.csv/run.kml"},
    {"./.csv", "kml", "./.kml"},
    {"a....", "kml", "a.kml"},
};

TEST(output_names_test, replaces_the_last_three_characters) {
  for (const extension_case &c : extension_cases) {
    SCOPED_TRACE(c.filename);
    EXPECT_STREQ(change_extension(c.filename, c.extension).get(), c.expected);
  }
}

TEST(output_names_test, gives_null_for_null) { EXPECT_EQ(change_extension(nullptr, "kml"), nullptr); }

struct refusal_case {
  const char *filename;
  const char *extension;
  const char *message;
};

const refusal_case refusal_cases[] = {
    {"run.csv", "", "ERROR: new extension must be 3 characters\n"},
    {"run.csv", "km", "ERROR: new extension must be 3 characters\n"},
    {"run.csv", "kmlz", "ERROR: new extension must be 3 characters\n"},
    {"run", "kmlz", "ERROR: new extension must be 3 characters\n"},
    {"", "kml", "ERROR: filename does not have 3 character extension\n"},
    {"csv", "kml", "ERROR: filename does not have 3 character extension\n"},
    {".csv", "kml", "ERROR: filename does not have 3 character extension\n"},
    {"run.gps5", "kml", "ERROR: filename does not have 3 character extension\n"},
    {"run.gz", "kml", "ERROR: filename does not have 3 character extension\n"},
    {"a.b.gz", "kml", "ERROR: filename does not have 3 character extension\n"},
    {"runcsv", "kml", "ERROR: filename does not have 3 character extension\n"},
};

// Redirects standard output to standard error, which is all that a death test sees.
void change_extension_aloud(const char *filename, const char *extension) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  static_cast<void>(change_extension(filename, extension));
}

TEST(output_names_test, ends_the_program_on_a_bad_name) {
  for (const refusal_case &c : refusal_cases) {
    SCOPED_TRACE(c.filename);
    EXPECT_EXIT(change_extension_aloud(c.filename, c.extension), testing::ExitedWithCode(1), c.message);
  }
}

TEST(output_names_test, ends_the_program_when_memory_is_short) {
  EXPECT_EXIT(
      {
        const allocation_limit limit(0);
        change_extension_aloud("run.csv", "kml");
      },
      testing::ExitedWithCode(1), "ERROR: strdup\\(\\) failed\n");
}

}  // namespace
}  // namespace tarvel
