#include "document/run_document.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "chart/hand_made_swoop.h"
#include "document/failure_code.h"
#include "support/allocation_limit.h"

namespace tarvel {
namespace {

using nlohmann::json;

run_facts facts_of(const swoop *run) {
  run_facts facts;
  facts.program = "tarvel-json";
  facts.version = "1.0";
  facts.track_name = "run.csv";
  facts.run = run;
  return facts;
}

json document_of(const run_facts &facts) {
  error_slot error = "not cleared";
  const owned_text text = format_run_document(facts, &error);
  EXPECT_EQ(error, nullptr);
  return text ? json::parse(text.get()) : json();
}

const char *const members[] = {"format",  "program", "track",  "course",  "warnings", "failure",
                               "figures", "phases",  "charts", "samples", "overview"};

TEST(run_document_test, has_all_members_of_a_run_that_failed) {
  run_facts facts = facts_of(nullptr);
  facts.failure = {run_stage::track, "failed to open file: run.csv"};
  const json document = document_of(facts);
  EXPECT_EQ(document.size(), std::size(members));
  for (const char *const member : members) EXPECT_TRUE(document.contains(member)) << member;
  EXPECT_EQ(document["failure"]["code"], "cannot-open-file");
  EXPECT_EQ(document["failure"]["stage"], "track");
  EXPECT_EQ(document["failure"]["message"], "failed to open file: run.csv");
  EXPECT_TRUE(document["figures"].is_null());
  EXPECT_TRUE(document["track"]["form"].is_null());
}

// What the analysis found before it failed is not shown: later stages might have corrected it.
TEST(run_document_test, shows_the_track_of_an_analysis_that_failed) {
  const swoop run = hand_made_swoop();
  run_facts facts = facts_of(&run);
  facts.failure = {run_stage::analysis, "could not find rollout"};
  const json document = document_of(facts);
  EXPECT_EQ(document["track"]["count"], 6);
  EXPECT_EQ(document["overview"]["time"].size(), 6U);
  EXPECT_TRUE(document["phases"].is_null());
  EXPECT_TRUE(document["course"]["gate"].is_null());
}

TEST(run_document_test, has_values_beside_texts) {
  const swoop run = hand_made_swoop();
  const json figures = document_of(facts_of(&run))["figures"];
  EXPECT_EQ(figures["turn_back"], json({{"value", 200.0}, {"unit", "m"}, {"text", "656"}, {"text_unit", "ft"}}));
  EXPECT_EQ(figures["exit_altitude"],
            json({{"value", nullptr}, {"unit", "m"}, {"text", "-----"}, {"text_unit", "ft"}}));
  EXPECT_EQ(figures["entry_gate_speed"]["text"], "100.7");
  EXPECT_EQ(figures["carve_time"]["value"], 0.75);
  EXPECT_EQ(figures["rotation"]["direction"], "right-hand");
}

TEST(run_document_test, has_phases_and_leaves_out_those_that_were_not_found) {
  swoop run = hand_made_swoop();
  run.touchdown_time = 103'900;
  const json phases = document_of(facts_of(&run))["phases"];
  EXPECT_TRUE(phases["exit"].is_null());
  EXPECT_EQ(phases["turn"]["time"], 1000);
  EXPECT_EQ(phases["turn"]["clock"], "1970-01-01T00:01:41.000");
  EXPECT_EQ(phases["turn"]["x"], -200.0);
  EXPECT_EQ(phases["turn"]["horizontal_speed"], 5.0);
  EXPECT_EQ(phases["turn"]["vertical_speed"], 12.0);
  EXPECT_EQ(phases["turn"]["total_speed"], 13.0);
  // A quarter of the way from (-10, -2, 10) to (60, 1, 1); the gate says x, and its survey y.
  EXPECT_EQ(phases["entry_gate"]["index"], 3);
  EXPECT_EQ(phases["entry_gate"]["x"], 0.0);
  EXPECT_EQ(phases["entry_gate"]["y"], 0.0);
  EXPECT_EQ(phases["entry_gate"]["z"], 7.75);
  EXPECT_EQ(phases["entry_gate"]["horizontal_speed"], 45.0);
  EXPECT_EQ(phases["exit_gate"]["x"], 50.0);
  EXPECT_EQ(phases["touchdown"]["index"], 3);
  EXPECT_EQ(phases["touchdown"]["x"], 55.5);
}

// A track may begin in the turn.
TEST(run_document_test, has_a_turn_that_begins_at_the_first_sample) {
  swoop run = hand_made_swoop();
  run.top_of_turn = 0;
  EXPECT_EQ(document_of(facts_of(&run))["phases"]["turn"]["index"], 0);
}

TEST(run_document_test, has_numbers_that_are_none_as_null) {
  swoop run = hand_made_swoop();
  run.entry_gate_speed = not_a_number;
  run.touchdown_distance = endless;
  run.track[2].vel_local = {not_a_number, endless, -endless};
  run.track[3].time = INT64_MIN;
  const json document = document_of(facts_of(&run));
  EXPECT_TRUE(document["figures"]["entry_gate_speed"]["value"].is_null());
  EXPECT_EQ(document["figures"]["entry_gate_speed"]["text"], "nan");
  EXPECT_TRUE(document["figures"]["touchdown_distance"]["value"].is_null());
  EXPECT_TRUE(document["phases"]["max_vertical_speed"]["vertical_speed"].is_null());
  EXPECT_TRUE(document["samples"]["vx"][2].is_null());
}

struct name_case {
  const char *name;
  const char *expected;
};

const name_case name_cases[] = {
    {"\xff\xfe.csv", "\xef\xbf\xbd\xef\xbf\xbd.csv"},
    {"cut \xe2\x82", "cut \xef\xbf\xbd"},
    {"</script><img src=x onerror=alert(1)>", "</script><img src=x onerror=alert(1)>"},
    {"a\"b\\c\n\t\x01\x7f", "a\"b\\c\n\t\x01\x7f"},
    {"\xe2\x80\xa8line", "\xe2\x80\xa8line"},
    {"", ""},
};

TEST(run_document_test, mends_names_that_are_not_utf8) {
  for (const name_case &c : name_cases) {
    SCOPED_TRACE(c.name);
    run_facts facts = facts_of(nullptr);
    facts.track_name = c.name;
    facts.course_name = c.name;
    facts.warnings = c.name;
    facts.failure = {run_stage::course, c.name};
    const json document = document_of(facts);
    EXPECT_EQ(document["track"]["name"], c.expected);
    EXPECT_EQ(document["course"]["file"], c.expected);
    EXPECT_EQ(document["failure"]["message"], c.expected);
  }
}

TEST(run_document_test, lists_the_warnings) {
  run_facts facts = facts_of(nullptr);
  facts.warnings = "WARNING: unknown field (a)\nWARNING: unknown field (\xff)\n";
  EXPECT_EQ(document_of(facts)["warnings"], json({"unknown field (a)", "unknown field (\xef\xbf\xbd)"}));
}

TEST(run_document_test, says_that_there_is_no_memory) {
  const swoop run = hand_made_swoop();
  error_slot error = "";
  std::size_t granted = 0;
  for (; error != nullptr; ++granted) {
    ASSERT_LT(granted, 1000U);
    const allocation_limit limit(granted);
    const owned_text text = format_run_document(facts_of(&run), &error);
    EXPECT_EQ(text == nullptr, error != nullptr);
    if (error != nullptr) {
      EXPECT_STREQ(error, "failed to allocate memory for charts");
    }
  }
  EXPECT_GT(granted, 20U);
  const allocation_limit limit(0);
  EXPECT_EQ(format_run_document(facts_of(nullptr), &error), nullptr);
  EXPECT_STREQ(error, "failed to allocate memory for document");
  EXPECT_STREQ(failure_code(error), "no-memory");
}

struct code_case {
  const char *message;
  const char *code;
};

const code_case code_cases[] = {
    {"could not find rollout", "no-rollout"},
    {"failed to read track", "cannot-read-file"},
    {"failed to read swoop sample", "bad-container"},
    {"invalid gate location (3.2 miles between gate and swoop)", "far-from-course"},
    {"nobody has heard of this", "other"},
};

TEST(failure_code_test, goes_by_the_beginning_of_a_message) {
  for (const code_case &c : code_cases) EXPECT_STREQ(failure_code(c.message), c.code) << c.message;
}

}  // namespace
}  // namespace tarvel
