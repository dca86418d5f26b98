// Refuses each request for memory of each chart in turn.
#include <gtest/gtest.h>

#include "chart/chart_building.h"
#include "chart/run_charts.h"
#include "support/chart_text.h"
#include "support/format_text.h"
#include "support/hand_made_swoop.h"
#include "support/pond_of.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

struct memory_case {
  const char *name;
  owned_record<chart> (*build)(const chart_context &);
};

const memory_case memory_cases[] = {
    {"accuracy", build_gps_accuracy_chart}, {"dive angle", build_dive_angle_chart},
    {"dive speed", build_dive_speed_chart}, {"heading", build_heading_chart},
    {"turn rate", build_turn_rate_chart},   {"overhead", build_overhead_chart},
    {"side view", build_side_view_chart},   {"swoop speed", build_swoop_speed_chart},
};

TEST(chart_memory_test, builds_a_whole_chart_or_none) {
  swoop run = hand_made_swoop();
  run.track[2].heading = 90.0;  // three stretches of heading
  const pond_outline pond = pond_of({{9, 8, 0}});
  const chart_context context = {run, &pond, true};
  for (const memory_case &c : memory_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> whole = c.build(context);
    const auto attempt = [&](std::size_t granted) {
      const allocation_limit limit(granted);
      const owned_record<chart> made = c.build(context);
      if (!made) return error_slot{"none"};
      EXPECT_EQ(text_of(*made), text_of(*whole));
      return error_slot{};
    };
    EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"none"});
  }
}

TEST(chart_memory_test, makes_no_chart_without_all_of_its_titles) {
  EXPECT_TRUE(make_chart(format_text("a"), format_text("b"), format_text("c")));
  EXPECT_FALSE(make_chart(nullptr, format_text("b"), format_text("c")));
  EXPECT_FALSE(make_chart(format_text("a"), nullptr, format_text("c")));
  EXPECT_FALSE(make_chart(format_text("a"), format_text("b"), nullptr));
}

TEST(chart_memory_test, grows_a_long_track_or_fails) {
  std::vector<gps_point> samples(1000);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].pos_local = {static_cast<double>(i) + 1.0, 1.0, 2.0};
  swoop run = run_of(samples);
  run.top_of_turn = 1;
  run.stop = 999;
  const auto attempt = [&](std::size_t granted) {
    const allocation_limit limit(granted);
    const owned_record<chart> made = build_side_view_chart({run, nullptr, true});
    if (!made) return error_slot{"none"};
    EXPECT_EQ(made->first_series->count, 999U);
    return error_slot{};
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"none"});
}

TEST(chart_memory_test, grows_a_long_pond_or_fails) {
  const swoop run = hand_made_swoop();
  const pond_outline pond = pond_of(std::vector<vec3>(700, vec3{1.0, 2.0, 3.0}));
  const auto attempt = [&](std::size_t granted) {
    const allocation_limit limit(granted);
    const owned_record<chart> made = build_overhead_chart({run, &pond, true});
    if (!made) return error_slot{"none"};
    const series *last = made->first_series.get();
    while (last->next) last = last->next.get();
    EXPECT_EQ(last->count, 700U);
    return error_slot{};
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"none"});
}

}  // namespace
}  // namespace tarvel
