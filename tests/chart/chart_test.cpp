#include "chart/chart.h"

#include <gtest/gtest.h>

#include "support/allocation_limit.h"
#include "support/chart_text.h"

namespace tarvel {
namespace {

constexpr vec2 somewhere = {3.0, 4.0};

owned_record<series> named_series(const char *name) {
  owned_record<series> curve = series_new(1);
  curve->name = try_duplicate(name);
  return curve;
}

TEST(chart_test, starts_without_anything) {
  const owned_record<chart> empty = chart_new();
  ASSERT_TRUE(empty);
  EXPECT_FALSE(empty->title || empty->x_title || empty->y_title || empty->first_series);
  EXPECT_FALSE(empty->reverse_x || empty->reverse_y || empty->equal_scale);
  EXPECT_EQ(empty->legend_right, 0U);
  EXPECT_EQ(empty->x_step, 0.0);
  EXPECT_EQ(empty->y_step, 0.0);
}

TEST(chart_test, starts_a_series_with_room_and_nothing_else) {
  const owned_record<series> curve = series_new(7);
  ASSERT_TRUE(curve);
  EXPECT_EQ(curve->capacity, 7U);
  EXPECT_EQ(curve->count, 0U);
  EXPECT_EQ(curve->style, series_style::solid);
  EXPECT_EQ(curve->colour, 0U);
  EXPECT_EQ(curve->radius, 0.0);
  EXPECT_FALSE(curve->next || curve->name || curve->label);
}

TEST(chart_test, numbers_its_styles_in_order) {
  EXPECT_EQ(static_cast<int>(series_style::solid), 0);
  EXPECT_EQ(static_cast<int>(series_style::thick_dashed), 1);
  EXPECT_EQ(static_cast<int>(series_style::thin_dashed), 2);
  EXPECT_EQ(static_cast<int>(series_style::filled_circle), 3);
  EXPECT_EQ(static_cast<int>(series_style::open_circle), 4);
  EXPECT_EQ(static_cast<int>(series_style::solid_with_dots), 5);
  EXPECT_EQ(static_cast<int>(series_style::star), 6);
}

TEST(chart_test, doubles_the_room_of_a_full_series) {
  const owned_record<series> curve = series_new(1);
  const std::uint32_t capacities[] = {1, 2, 4, 4, 8};
  for (std::uint32_t i = 0; i < 5; ++i) {
    ASSERT_TRUE(series_add_point(*curve, {static_cast<double>(i), -1.0}));
    EXPECT_EQ(curve->capacity, capacities[i]) << i;
    EXPECT_EQ(curve->count, i + 1);
  }
  EXPECT_EQ(text_of(*curve), "solid 000000: (0, -1) (1, -1) (2, -1) (3, -1) (4, -1)\n");
}

TEST(chart_test, takes_a_first_point_into_a_series_made_without_room) {
  const owned_record<series> curve = series_new(0);
  ASSERT_TRUE(curve);
  EXPECT_TRUE(series_add_point(*curve, somewhere));
  EXPECT_EQ(curve->capacity, 1U);
}

TEST(chart_test, leaves_a_series_that_cannot_grow_as_it_was) {
  const owned_record<series> curve = series_new(1);
  ASSERT_TRUE(series_add_point(*curve, somewhere));
  const allocation_limit none(0);
  EXPECT_FALSE(series_add_point(*curve, {5.0, 6.0}));
  EXPECT_EQ(curve->capacity, 1U);
  EXPECT_EQ(text_of(*curve), "solid 000000: (3, 4)\n");
}

TEST(chart_test, refuses_more_points_than_can_be_counted) {
  series curve;
  // The array has no memory: the call must fail before it writes.
  curve.count = curve.capacity = 0x80000000U;
  EXPECT_FALSE(series_add_point(curve, somewhere));
  EXPECT_EQ(curve.count, 0x80000000U);
  curve.count = curve.capacity = 0;
}

TEST(chart_test, makes_neither_charts_nor_series_without_memory) {
  {
    const allocation_limit none(0);
    EXPECT_FALSE(chart_new());
    EXPECT_FALSE(series_new(300));
  }
  const allocation_limit record_alone(1);
  EXPECT_FALSE(series_new(300));
}

TEST(chart_test, appends_series_and_chains_behind_the_last) {
  const owned_record<chart> target = chart_new();
  chart_add_series(*target, named_series("a"));
  owned_record<series> chain = named_series("b");
  chain->next = named_series("c");
  chart_add_series(*target, std::move(chain));
  chart_add_series(*target, named_series("d"));
  EXPECT_EQ(series_text(*target), "solid 000000 of a:\nsolid 000000 of b:\nsolid 000000 of c:\nsolid 000000 of d:\n");
}

TEST(chart_test, frees_a_chain_of_a_million_series_without_a_stack_for_it) {
  const owned_record<chart> target = chart_new();
  for (int i = 0; i < 1'000'000; ++i) {
    owned_record<series> curve = series_new(1);
    curve->next = std::move(target->first_series);
    target->first_series = std::move(curve);
  }
}

}  // namespace
}  // namespace tarvel
