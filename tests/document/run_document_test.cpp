#include "document/run_document.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "document/failure_code.h"
#include "document/json_values.h"
#include "support/hand_made_swoop.h"
#include "support/refusals.h"

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

const char *const members[] = {"format",  "program", "track",  "course", "warnings", "failure",
                               "figures", "check",   "phases", "charts", "samples",  "overview"};

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

// Results from before the failure of the analysis are not shown, since later stages might have corrected them.
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
  // A quarter of the way from (-10, -2, 10) to (60, 1, 1); x is that of the gate, y that of the crossing.
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

// Every figure of the run, each with an interval from a tenth below it to a fifth above it.
checked_run check_of_figures(const swoop &run) {
  checked_run made;
  const figure_values values = values_of(run);
  for (std::size_t i = 0; i < figure_count; ++i) {
    made.check.figures[i] = {values[i], true, {values[i] - 0.1, values[i] + 0.2}, 0.0};
  }
  made.check.draws = 400;
  return made;
}

TEST(run_document_test, has_intervals_and_reasons_of_a_run_that_was_checked) {
  swoop run = hand_made_swoop();
  run.touchdown_time = run.track[run.stop].time - 1;
  run.turn_degrees = -450.25;
  run.entry_gate_speed = 30.0;
  checked_run checked = check_of_figures(run);
  checked.check.figures[index_of(figure::distance_to_stop)].has_interval = false;
  checked.check.figures[index_of(figure::rollout_time)].missing = 0.0075;
  checked.verdict.worst = severity::unusable;
  checked.verdict.reasons[0] = {reason_code::no_dive, 2.23693629};
  checked.verdict.reasons[1] = {reason_code::no_accuracy, std::numeric_limits<double>::infinity()};
  checked.verdict.count = 2;
  run_facts facts = facts_of(&run);
  facts.metric = true;
  facts.checked = &checked;

  const json check = document_of(facts)["check"];
  EXPECT_EQ(check["verdict"], "unusable");
  EXPECT_EQ(check["draws"], 400);
  const json &intervals = check["intervals"];
  // 29.9 m/s are 107.64 km/h, 30.2 m/s are 108.72 km/h.
  const json gate_speed = {{"low", 29.9},  {"high", 30.2},   {"low_text", "107.6"}, {"high_text", "108.8"},
                           {"missing", 0}, {"why", nullptr}, {"bounds", nullptr}};
  EXPECT_EQ(intervals["entry_gate_speed"], gate_speed);
  // Without the direction, as the figure.
  EXPECT_EQ(intervals["rotation"]["low"], 450.25 - 0.2);
  EXPECT_EQ(intervals["rotation"]["low_text"], "450");
  EXPECT_EQ(intervals["rotation"]["high_text"], "451");
  EXPECT_EQ(intervals["rollout_time"]["missing"], 3);
  const json none = {{"low", nullptr},       {"high", nullptr}, {"low_text", nullptr},
                     {"high_text", nullptr}, {"missing", 0},    {"why", "missing-in-all-draws"},
                     {"bounds", nullptr}};
  EXPECT_EQ(intervals["stop_distance"], none);

  // 1 mph in m/s, with all digits of the factor.
  EXPECT_EQ(check["reasons"][0]["code"], "no-dive");
  EXPECT_EQ(check["reasons"][0]["severity"], "unusable");
  EXPECT_EQ(check["reasons"][0]["value"], 1.0);
  EXPECT_EQ(check["reasons"][0]["unit"], "m/s");
  EXPECT_TRUE(check["reasons"][0]["text"].get<std::string>().starts_with("4 km/h of descent"));
  EXPECT_TRUE(check["reasons"][1]["value"].is_null());
  EXPECT_TRUE(check["reasons"][1]["unit"].is_null());
}

// A seed has 64 bits; readers of JSON that hold numbers as doubles read integers up to 2^53 as they are.
TEST(run_document_test, has_a_seed_that_every_reader_of_json_reads_as_it_is) {
  const auto seed_in_document = [](std::uint64_t seed) {
    check_settings asked;
    asked.seed = seed;
    run_facts facts = facts_of(nullptr);
    facts.asked_check = &asked;
    return document_of(facts)["program"]["options"]["seed"];
  };
  EXPECT_EQ(seed_in_document(9007199254740992), 9007199254740992);
  EXPECT_TRUE(seed_in_document(9007199254740993).is_null());
  EXPECT_TRUE(seed_in_document(UINT64_MAX).is_null());
}

TEST(run_document_test, tells_bounds_from_intervals) {
  swoop run = hand_made_swoop();
  run.entry_gate_speed = 30.0;
  checked_run checked = check_of_figures(run);
  checked.check.reason = withheld::gap;
  figure_check &speed = checked.check.figures[index_of(figure::entry_gate_speed)];
  speed.has_interval = false;
  speed.is_bounded = true;
  speed.range = {24.5, 35.5};
  run_facts facts = facts_of(&run);
  facts.metric = true;
  facts.checked = &checked;

  // 24.5 m/s are 88.2 km/h, 35.5 m/s are 127.8 km/h.
  const json bounds = {{"low", 24.5}, {"high", 35.5}, {"low_text", "88.2"}, {"high_text", "127.8"}};
  const json bounded = {{"low", nullptr}, {"high", nullptr}, {"low_text", nullptr}, {"high_text", nullptr},
                        {"missing", 0},   {"why", "gap"},    {"bounds", bounds}};
  const json document = document_of(facts);
  EXPECT_EQ(document["check"]["intervals"]["entry_gate_speed"], bounded);
}

TEST(run_document_test, has_an_interval_under_the_name_of_each_figure) {
  const swoop run = hand_made_swoop();
  const checked_run checked = check_of_figures(run);
  run_facts facts = facts_of(&run);
  facts.checked = &checked;
  const json document = document_of(facts);
  const json &intervals = document["check"]["intervals"];
  EXPECT_EQ(intervals.size(), document["figures"].size());
  for (const auto &[name, each] : document["figures"].items()) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(intervals.contains(name));
    if (intervals[name]["why"].is_null()) {
      EXPECT_NEAR(intervals[name]["low"].get<double>(), each["value"].get<double>() - 0.15, 0.0501);
    }
  }
}

TEST(run_document_test, does_not_take_the_stop_for_a_touchdown) {
  swoop run = hand_made_swoop();
  run.touchdown_time = run.track[run.stop].time;
  const checked_run checked = check_of_figures(run);
  run_facts facts = facts_of(&run);
  facts.checked = &checked;
  const json intervals = document_of(facts)["check"]["intervals"];
  EXPECT_EQ(intervals["touchdown_distance"]["why"], "touchdown-is-stop");
  EXPECT_TRUE(intervals["touchdown_distance"]["low"].is_null());
  EXPECT_TRUE(intervals["stop_distance"]["why"].is_null());
}

TEST(run_document_test, says_that_there_is_no_memory) {
  const swoop run = hand_made_swoop();
  const auto attempt = [&](std::size_t granted) {
    error_slot error = "";
    const allocation_limit limit(granted);
    const owned_text text = format_run_document(facts_of(&run), &error);
    EXPECT_EQ(text == nullptr, error != nullptr);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"failed to allocate memory for charts"});
  error_slot error = nullptr;
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
