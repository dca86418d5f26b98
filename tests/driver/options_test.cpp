#include "driver/options.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/files.h"
#include "support/program.h"

namespace tarvel {
namespace {

const char *const usage =
    "\n"
    "COMMAND LINE USAGE:\n"
    "\n"
    "   tarvel [-vdipm] [-t time] [-g gate] [swoop]\n"
    "\n"
    "      -v        Display tool version\n"
    "      -d        Debug mode (output coordinate file)\n"
    "      -i        Determine entry gate implicitly from the swoop\n"
    "      -p        Gate is located in a pond (pond will be drawn in plots)\n"
    "      -m        Output metric (SI) units\n"
    "      -t time   Specify time aloft (between entry gate and touchdown)\n"
    "      -g gate   Locate entry gate using GPS track from gate file\n"
    "      swoop     Process swoop using GPS track from swoop file\n"
    "\n";
const char *const version_line = "Tarvel version 2.23 (August 2, 2026)\n";
const char *const conflict = "Conflicting parameters (-i and -g)\n";
const char *const too_many = "Too many command line parameters\n";
const char *const bad_name = "ERROR: filename does not have 3 character extension\n";

struct command_line_case {
  const char *name;
  std::vector<std::string> arguments;
  int status;
  const char *out;
  const char *err;  // the message of getopt
};

const command_line_case command_line_cases[] = {
    {"nothing at all", {}, 1, usage, ""},
    {"unknown option", {"-x"}, 1, usage, "tarvel: invalid option -- 'x'\n"},
    {"unknown option behind good ones", {"-dx", "run.csv"}, 1, usage, "tarvel: invalid option -- 'x'\n"},
    {"long option", {"--help"}, 1, usage, "tarvel: invalid option -- '-'\n"},
    {"time missing", {"-t"}, 1, usage, "tarvel: option requires an argument -- 't'\n"},
    {"gate missing", {"run.csv", "-g"}, 1, usage, "tarvel: option requires an argument -- 'g'\n"},
    {"version", {"-v"}, 0, version_line, ""},
    {"version before a bad option", {"-v", "-x"}, 0, version_line, ""},
    {"version and a bad option in one word", {"-vx"}, 0, version_line, ""},
    {"version behind a bad option", {"-x", "-v"}, 1, usage, "tarvel: invalid option -- 'x'\n"},
    {"version before a conflict", {"-i", "-g", "a.csv", "-v"}, 0, version_line, ""},
    {"version behind words", {"a.csv", "b.csv", "-v"}, 0, version_line, ""},
    {"version behind the end of options is a word", {"--", "-v"}, 1, bad_name, ""},
    {"conflict", {"-i", "-g", "gate.csv"}, 1, conflict, ""},
    {"conflict the other way round, with a run", {"-g", "gate.csv", "run.csv", "-i"}, 1, conflict, ""},
    {"conflict comes before too many words", {"-i", "-g", "gate.csv", "a.csv", "b.csv"}, 1, conflict, ""},
    {"two runs", {"a.csv", "b.csv"}, 1, too_many, ""},
    {"two runs around options", {"a.csv", "-m", "b.csv", "-d"}, 1, too_many, ""},
    {"three runs", {"-i", "a.csv", "b.csv", "c.csv"}, 1, too_many, ""},
    {"the time is no word", {"-t", "5", "a.csv", "b.csv"}, 1, too_many, ""},
    {"options alone do nothing", {"-d"}, 0, "", ""},
    {"all options alone do nothing", {"-dipm", "-t", "5"}, 0, "", ""},
    {"end of options alone does nothing", {"--"}, 0, "", ""},
    {"a name without extension", {"run"}, 1, bad_name, ""},
    {"an empty name", {""}, 1, bad_name, ""},
    {"an extension of four characters", {"run.gps5"}, 1, bad_name, ""},
    {"an extension alone", {".csv"}, 1, bad_name, ""},
    {"a run that is not there", {"run.csv"}, 1, "ERROR: failed to open file: run.csv\n", ""},
    {"the same, implicit", {"-i", "run.csv"}, 1, "ERROR: failed to open file: run.csv\n", ""},
    {"a name that begins like an option", {"-i", "--", "-m.csv"}, 1, "ERROR: failed to open file: -m.csv\n", ""},
};

TEST(options_test, prints_the_message_of_each_command_line_and_writes_nothing) {
  for (const command_line_case &c : command_line_cases) {
    SCOPED_TRACE(c.name);
    const temp_dir folder;
    const program_result result = run_program(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(result.err, c.err);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

// Redirects standard output to standard error, which is all that a death test sees.
void parse_aloud(int argc, char *argv[]) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  run_config config;
  parse_options(argc, argv, config);
}

TEST(options_test, has_a_name_when_it_was_started_without_any) {
  char *argv[] = {nullptr};
  EXPECT_EXIT(parse_aloud(0, argv), testing::ExitedWithCode(1), "   tarvel \\[-vdipm\\]");
}

TEST(options_test, ends_the_program_when_memory_is_short) {
  char name[] = "tarvel";
  char run[] = "run.csv";
  char *argv[] = {name, run, nullptr};
  EXPECT_EXIT(
      {
        const allocation_limit limit(0);
        parse_aloud(2, argv);
      },
      testing::ExitedWithCode(1), "ERROR: strdup\\(\\) failed\n");
}

run_config parsed(std::vector<std::string> words) {
  words.insert(words.begin(), "tarvel");
  std::vector<char *> argv;
  for (std::string &word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  optind = 0;  // makes getopt start again
  run_config config;
  parse_options(static_cast<int>(words.size()), argv.data(), config);
  return config;
}

std::string text_or_none(const owned_text &text) { return text ? text.get() : "(none)"; }

struct parse_case {
  std::vector<std::string> words;
  int debug, implicit_gate, pond, metric;
  const char *gate_file;
  const char *swoop_file;
};

const parse_case parse_cases[] = {
    {{"run.csv"}, 0, 0, 0, 0, "(none)", "run.csv"},
    {{"-d", "run.csv"}, 1, 0, 0, 0, "(none)", "run.csv"},
    {{"-i", "run.csv"}, 0, 1, 0, 0, "(none)", "run.csv"},
    {{"-p", "run.csv"}, 0, 0, 1, 0, "(none)", "run.csv"},
    {{"-m", "run.csv"}, 0, 0, 0, 1, "(none)", "run.csv"},
    {{"run.csv", "-m", "-d"}, 1, 0, 0, 1, "(none)", "run.csv"},
    {{"-m", "run.csv", "-pi"}, 0, 1, 1, 1, "(none)", "run.csv"},
    {{"-g", "walk.csv"}, 0, 0, 0, 0, "walk.csv", "(none)"},
    {{"-pgwalk.csv", "run.csv"}, 0, 0, 1, 0, "walk.csv", "run.csv"},
    {{"run.csv", "-g", "walk.csv"}, 0, 0, 0, 0, "walk.csv", "run.csv"},
    {{"-g", "first.csv", "-g", "second.csv"}, 0, 0, 0, 0, "second.csv", "(none)"},
    {{"-g", "-i"}, 0, 0, 0, 0, "-i", "(none)"},
    {{"-d", "--", "-i"}, 1, 0, 0, 0, "(none)", "-i"},
    {{"-d"}, 1, 0, 0, 0, "(none)", "(none)"},
};

TEST(options_test, sets_the_options) {
  for (const parse_case &c : parse_cases) {
    SCOPED_TRACE(testing::PrintToString(c.words));
    const run_config config = parsed(c.words);
    EXPECT_EQ(config.debug, c.debug);
    EXPECT_EQ(config.implicit_gate, c.implicit_gate);
    EXPECT_EQ(config.pond, c.pond);
    EXPECT_EQ(config.metric, c.metric);
    EXPECT_EQ(config.time_aloft, 0U);
    EXPECT_EQ(text_or_none(config.gate_file), c.gate_file);
    EXPECT_EQ(text_or_none(config.swoop_file), c.swoop_file);
  }
}

struct time_case {
  const char *text;
  std::uint32_t expected;  // ms
};

const time_case time_cases[] = {
    {"5", 5000},
    {"2.5", 2500},
    {"12.3456", 12345},  // truncated, not rounded
    {"1.005", 1004},     // 1.005 * 1000.0 lies just below 1005
    {"0.0009", 0},
    {"0.001", 1},
    {"abc", 0},
    {"", 0},
    {"7s", 7000},
    {" 7", 7000},
    {"0x10", 16000},
    {"1e3", 1000000},
    {"-0.0009", 0},       // toward zero
    {"-1", 4294966296U},  // 2^32 - 1000
    {"4294967.295", 4294967295U},
    {"4294967.297", 1},  // the low 32 bits of 2^32 + 1
    {"inf", 0},          // the low 32 bits of the least 64-bit integer
    {"-inf", 0},
    {"nan", 0},
    {"1e300", 0},
    {"9223372036854774", 4294965248U},  // the product is the double 2^63 - 2048
    {"9223372036854775", 0},            // the product is the double 2^63 and does not fit
};

TEST(options_test, truncates_the_time_aloft_to_milliseconds) {
  for (const time_case &c : time_cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parsed({"-t", c.text}).time_aloft, c.expected);
  }
  EXPECT_EQ(parsed({"-t", "5", "-t", "6"}).time_aloft, 6000U);
}

}  // namespace
}  // namespace tarvel
