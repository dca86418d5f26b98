// What -g does while the program has no gate surveys.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/files.h"
#include "support/program.h"

namespace tarvel {
namespace {

TEST(program_gate_mode_test, says_that_it_is_not_there_and_leaves_the_run_alone) {
  const temp_dir folder;
  write_text("walk.csv", "time\n");
  write_text("run.csv", "time\n");
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"-g", "walk.csv"}, std::vector<std::string>{"-p", "-g", "walk.csv", "run.csv"}}) {
    const program_result result = run_program(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "ERROR: gate surveys are not part of this version\n");
    EXPECT_EQ(result.err, "");
  }
  EXPECT_FALSE(file_exists("walk.txt"));
  EXPECT_FALSE(file_exists("matrix.txt"));
  EXPECT_FALSE(file_exists("run.kml"));
}

}  // namespace
}  // namespace tarvel
