#include "verdict/reason_text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tarvel {
namespace {

std::string sentence_of(const reason &each, bool metric = true) {
  error_slot error = nullptr;
  text_buffer text = text_buffer_create(&error);
  append_reason_sentence(text, each, display_units_for(metric));
  EXPECT_STREQ(error, nullptr);
  return text.data.get();
}

struct sentence_case {
  reason_code code;
  double measured;
  bool metric;
  const char *beginning;
};

const sentence_case sentence_cases[] = {
    {reason_code::gap, 1.8, false, "1.80 s without samples"},
    {reason_code::several_runs, 3.0, false, "3 descents"},
    {reason_code::clock_steps_back, 1.0, false, "1 step of the clock"},
    {reason_code::clock_steps_back, 2.0, false, "2 steps of the clock"},
    {reason_code::times_repeat, 1.0, false, "1 sample at the time"},
    {reason_code::times_repeat, 30.0, false, "30 samples at the time"},
    {reason_code::times_out_of_order, 1.0, false, "1 sample at or before"},
    {reason_code::fix_lost, 1.0, false, "1 sample between"},
    {reason_code::few_satellites, 5.0, false, "5 satellites at the fewest"},
    {reason_code::no_satellites, 0.0, false, "0 satellites at the fewest"},
    {reason_code::no_satellites, 1.0, false, "1 satellite at the fewest"},
    {reason_code::poor_accuracy, 1.25, false, "1.2 times"},
    {reason_code::figures_missing, 0.031, false, "4 % of the drawn tracks"},
    {reason_code::figures_missing, 0.05, false, "5 % of the drawn tracks"},
    {reason_code::figures_missing, 28.0 / 400.0, false, "7 % of the drawn tracks"},
    {reason_code::figures_missing, 0.05005, false, "6 % of the drawn tracks"},
    {reason_code::contradiction, 1.6, true, "1.6 m between"},
    {reason_code::contradiction, 1.6, false, "5.2 ft between"},
    {reason_code::levelled_high, 49.2126, false, "49 ft above"},
    {reason_code::levelled_high, 49.2126, true, "15 m above"},
    {reason_code::levelled_slow, 8.0, false, "8 mph over the ground"},
    {reason_code::touchdown_moves, 3.0, true, "5 km/h at the end"},
    {reason_code::wide_gate_speed, 3.0, true, "10.8 km/h from end to end"},
    {reason_code::wide_gate_speed, 3.0, false, "6.7 mph from end to end"},
    {reason_code::too_fast_for_canopy, 120.0, false, "120 mph of descent"},
    {reason_code::exit_of_another_run, -0.45, false, "0 ft at the lowest"},
    {reason_code::exit_of_another_run, -0.55, false, "-1 ft at the lowest"},
    {reason_code::contradiction, -0.0497, true, "0.0 m between"},
    {reason_code::contradiction, -3.0, true, "-3.0 m between"},
    {reason_code::too_fast_for_canopy, 120.0, true, "193 km/h of descent"},
};

TEST(reason_text_test, begins_with_the_figure_in_its_unit) {
  for (const sentence_case &c : sentence_cases) {
    SCOPED_TRACE(c.beginning);
    const std::string sentence = sentence_of({c.code, c.measured}, c.metric);
    EXPECT_TRUE(sentence.starts_with(c.beginning)) << sentence;
  }
}

TEST(reason_text_test, has_words_for_each_reason) {
  std::set<std::string> sentences;
  for (std::size_t i = 0; i < reason_count; ++i) {
    const std::string sentence = sentence_of({static_cast<reason_code>(i), 1.0});
    EXPECT_GT(sentence.size(), 30U) << i;
    EXPECT_TRUE(sentences.insert(sentence).second) << sentence;
  }
}

TEST(reason_text_test, names_the_program_that_takes_a_run_out_of_a_track) {
  for (const reason_code code : {reason_code::not_drawn, reason_code::several_runs, reason_code::exit_of_another_run,
                                 reason_code::gate_of_another_run}) {
    const std::string sentence = sentence_of({code, 2.0});
    EXPECT_TRUE(sentence.ends_with("; take the one run out of the track with tarvel-split -w")) << sentence;
  }
}

struct value_case {
  reason_code code;
  double measured;
  double value;
  const char *unit;
};

const value_case value_cases[] = {
    {reason_code::gap, 1.5, 1.5, "s"},
    {reason_code::wide_distance, 1.25, 1.25, "m"},
    {reason_code::ends_in_air, 100.0, 30.48, "m"},
    {reason_code::wide_gate_speed, 1.25, 1.25, "m/s"},
    {reason_code::no_dive, 10.0, 4.4704, "m/s"},
    {reason_code::draws_fail, 0.125, 0.125, nullptr},
    {reason_code::several_runs, 2.0, 2.0, nullptr},
    {reason_code::times_repeat, 2.0, 2.0, nullptr},
    {reason_code::few_satellites, 2.0, 2.0, nullptr},
    {reason_code::clock_steps_back, 2.0, 2.0, nullptr},
};

TEST(reason_text_test, gives_the_figure_in_metres_and_seconds) {
  for (const value_case &c : value_cases) {
    SCOPED_TRACE(static_cast<int>(c.code));
    const reason_value found = value_of({c.code, c.measured});
    EXPECT_NEAR(found.value, c.value, 1e-6);
    EXPECT_STREQ(found.unit, c.unit);
  }
}

}  // namespace
}  // namespace tarvel
