#include "chart/heading_split.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "support/chart_text.h"
#include "support/hand_made_run.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

// A curve whose point k has x = k and matches its sample where states[k] is 'm'.
struct heading_curve {
  owned_record<series> curve;
  std::vector<gps_point> samples;
};

heading_curve curve_of(const std::string &states) {
  heading_curve made;
  made.curve = series_new(300);
  made.curve->colour = red;
  made.curve->name = try_duplicate("run");
  for (std::size_t k = 0; k < states.size(); ++k) {
    gps_point sample;
    sample.heading = states[k] == 'm' ? 10.0 : 11.0;
    made.samples.push_back(sample);
    EXPECT_TRUE(series_add_point(*made.curve, {static_cast<double>(k), 370.0}));
  }
  return made;
}

std::string chain_text(const series &first) {
  std::string text;
  for (const series *curve = &first; curve != nullptr; curve = curve->next.get()) text += text_of(*curve);
  return text;
}

// "solid 0-2, dashed 2-4": the x of the first and last point of each stretch, which must have all points between them.
std::string runs_of(const series &first) {
  std::string text;
  for (const series *curve = &first; curve != nullptr; curve = curve->next.get()) {
    if (!text.empty()) text += ", ";
    text += curve->style == series_style::solid ? "solid " : "dashed ";
    if (curve->style != series_style::solid && curve->style != series_style::thin_dashed) text += "ODD ";
    const std::span<const vec2> points = points_of(*curve);
    for (std::size_t i = 1; i < points.size(); ++i) EXPECT_EQ(points[i].x, points[i - 1].x + 1.0);
    text +=
        std::to_string(static_cast<int>(points.front().x)) + '-' + std::to_string(static_cast<int>(points.back().x));
  }
  return text;
}

struct split_case {
  const char *states;
  const char *runs;
};

// Dashed stretches go from the matching point before to the matching point after.
const split_case split_cases[] = {
    {"m", "solid 0-0"},
    {"x", "dashed 0-0"},
    {"mmmm", "solid 0-3"},
    {"xxx", "dashed 0-2"},
    {"mx", "solid 0-0, dashed 0-1"},
    {"xm", "dashed 0-1, solid 1-1"},
    {"mmxxmm", "solid 0-1, dashed 1-4, solid 4-5"},
    {"mmxmm", "solid 0-1, dashed 1-3, solid 3-4"},
    {"xxmmx", "dashed 0-2, solid 2-3, dashed 3-4"},
    {"mxmxm", "solid 0-0, dashed 0-2, solid 2-2, dashed 2-4, solid 4-4"},
    {"xmxmx", "dashed 0-1, solid 1-1, dashed 1-3, solid 3-3, dashed 3-4"},
    {"mmmx", "solid 0-2, dashed 2-3"},
};

TEST(heading_split_test, cuts_at_every_change_and_shares_the_boundary_points) {
  for (const split_case &c : split_cases) {
    SCOPED_TRACE(c.states);
    const heading_curve made = curve_of(c.states);
    ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
    EXPECT_EQ(runs_of(*made.curve), c.runs);
  }
}

TEST(heading_split_test, gives_the_new_runs_the_colour_of_tracks_and_the_name) {
  const heading_curve made = curve_of("mxm");
  made.curve->colour = green;
  made.curve->label = try_duplicate("label");
  ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
  EXPECT_EQ(chain_text(*made.curve),
            "solid 10b010 of run \"label\": (0, 370)\n"
            "thin dashed ff0000 of run: (0, 370) (1, 370) (2, 370)\n"
            "solid ff0000 of run: (2, 370)\n");
}

TEST(heading_split_test, splits_a_curve_without_a_name) {
  const heading_curve made = curve_of("mx");
  made.curve->name.reset();
  ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
  EXPECT_EQ(runs_of(*made.curve), "solid 0-0, dashed 0-1");
}

TEST(heading_split_test, gives_the_first_stretch_the_state_of_the_given_point) {
  const heading_curve made = curve_of("mxxm");
  ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 1));
  EXPECT_EQ(runs_of(*made.curve), "dashed 0-3, solid 3-3");
}

TEST(heading_split_test, keeps_what_stood_behind_the_curve) {
  const heading_curve made = curve_of("mxm");
  made.curve->next = series_new(1);
  ASSERT_TRUE(series_add_point(*made.curve->next, {77.0, 0.0}));
  ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
  EXPECT_EQ(runs_of(*made.curve), "solid 0-0, dashed 0-2, solid 2-2, solid 77-77");
}

TEST(heading_split_test, leaves_an_empty_curve_alone) {
  const owned_record<series> empty = series_new(1);
  EXPECT_TRUE(split_heading_series(*empty, {}, 0));
  EXPECT_EQ(text_of(*empty), "solid 000000:\n");
}

struct match_case {
  const char *name;
  double y;
  double heading;
  bool matches;
};

const match_case match_cases[] = {
    {"the same", 123.0, 123.0, true},
    {"a turn further", 483.0, 123.0, true},
    {"two turns back", -597.0, 123.0, true},
    {"minus ten is 350", -10.0, 350.0, true},
    {"exactly 360 is 0", 360.0, 0.0, true},
    {"minus 360 is 0", -360.0, 0.0, true},
    {"1e-5 is still the same", 1e-5, 0.0, true},
    {"the next number above 1e-5", 0x1.4f8b588e368f2p-17, 0.0, false},
    {"1e-5 below", 0.0, 1e-5, true},
    {"2e-5 below", 50.0, 50.00002, false},
    {"across north the difference is a whole turn", 360.0, 359.999999, false},
    {"a heading that is no number is no mismatch", 10.0, not_a_number, true},
    {"a curve that is no number is no mismatch", not_a_number, 10.0, true},
    {"an endless curve neither", endless, 10.0, true},
    {"an endless heading is one", 10.0, endless, false},
};

TEST(heading_split_test, folds_the_curve_and_allows_a_hundred_thousandth_of_a_degree) {
  // 1e-5 is 0x1.4f8b588e368f1p-17.
  static_assert(1e-5 == 0x1.4f8b588e368f1p-17);
  for (const match_case &c : match_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<series> curve = series_new(1);
    ASSERT_TRUE(series_add_point(*curve, {0.0, c.y}));
    gps_point sample;
    sample.heading = c.heading;
    ASSERT_TRUE(split_heading_series(*curve, {&sample, 1}, 0));
    EXPECT_EQ(curve->style, c.matches ? series_style::solid : series_style::thin_dashed);
  }
}

// The rule applied to the states alone: cut at the first change, put the rest into a new stretch, and repeat there.
std::string split_literally(std::string states, std::size_t first, int offset) {
  const bool is_match = states[first] == 'm';
  const std::string style = is_match ? "solid " : "dashed ";
  for (std::size_t i = first + 1; i < states.size(); ++i) {
    if ((states[i] == 'm') == is_match) continue;
    const std::size_t old_count = is_match ? i : i + 1;
    const std::size_t begin = is_match ? i - 1 : i;
    return style + std::to_string(offset) + '-' + std::to_string(offset + static_cast<int>(old_count) - 1) + ", " +
           split_literally(states.substr(begin), is_match ? 1 : 0, offset + static_cast<int>(begin));
  }
  return style + std::to_string(offset) + '-' + std::to_string(offset + static_cast<int>(states.size()) - 1);
}

TEST(heading_split_test, agrees_with_the_rule_taken_literally) {
  std::mt19937 random(20260802);
  for (int round = 0; round < 2000; ++round) {
    std::string states(1 + random() % 40, 'm');
    const auto rarity = 1 + random() % 5;
    for (char &state : states) state = random() % (rarity + 1) == 0 ? 'x' : 'm';
    if (round % 2 == 1) {
      for (char &state : states) state = state == 'm' ? 'x' : 'm';
    }
    SCOPED_TRACE(states);
    const heading_curve made = curve_of(states);
    ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
    ASSERT_EQ(runs_of(*made.curve), split_literally(states, 0, 0));
  }
}

TEST(heading_split_test, splits_a_hundred_thousand_alternating_points_in_milliseconds) {
  constexpr std::size_t point_count = 100'000;
  std::string states(point_count, 'm');
  for (std::size_t i = 1; i < point_count; i += 2) states[i] = 'x';
  const heading_curve made = curve_of(states);
  const std::clock_t start = std::clock();
  ASSERT_TRUE(split_heading_series(*made.curve, made.samples, 0));
  // Twenty milliseconds without sanitizers; quadratic time would be minutes.
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 2.0);

  std::size_t runs = 0;
  std::uint64_t room = 0;
  for (const series *run = made.curve->next.get(); run != nullptr; run = run->next.get()) {
    ++runs;
    room += run->capacity;
    // Solid stretches of one point, dashed ones of three; the last one is shorter.
    ASSERT_EQ(run->count, run->style == series_style::solid ? 1U : run->next ? 3U : 2U);
  }
  EXPECT_EQ(runs, point_count - 1);
  EXPECT_LE(room, 2 * point_count);
}

TEST(heading_split_test, fails_at_every_request_that_is_refused) {
  const auto attempt = [](std::size_t granted) {
    const heading_curve made = curve_of("mxmxm");
    const allocation_limit limit(granted);
    return error_slot{split_heading_series(*made.curve, made.samples, 0) ? nullptr : "none"};
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"none"});
}

}  // namespace
}  // namespace tarvel
