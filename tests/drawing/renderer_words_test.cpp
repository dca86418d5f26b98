// The texts of charts, and their positions for the sizes of this machine's fonts.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "drawing/renderer.h"
#include "support/drawing_log.h"

namespace tarvel {
namespace {

// Paths and points have a resolution of 1/256.
constexpr double exact = 0.005;

// Plot from 100 to 940 and from 80 to 920 on a page of 1000 by 1000; x from 0 to 20, y from -10 to 10.
owned_record<chart> square_chart() {
  owned_record<chart> made = chart_new();
  made->x_step = made->y_step = 2.0;
  made->title = try_duplicate("chart title");
  made->x_title = try_duplicate("across");
  made->y_title = try_duplicate("upwards");
  owned_record<series> curve = series_new(2);
  EXPECT_TRUE(series_add_point(*curve, {0.5, -9.5}) && series_add_point(*curve, {19.5, 9.5}));
  chart_add_series(*made, std::move(curve));
  return made;
}

std::vector<drawn_word> words_on_paper(const chart &source) {
  return words_of(draw_logged(source, page_kind::vector, 1000.0, 1000.0));
}

TEST(renderer_words_test, labels_every_tick_below_and_to_the_left_of_the_frame) {
  const std::vector<drawn_word> words = words_on_paper(*square_chart());
  ASSERT_EQ(words.size(), 11U + 11U + 3U);
  for (std::size_t i = 0; i <= 10; ++i) {
    const drawn_word &below = words[i];
    EXPECT_EQ(below.text, std::to_string(2 * i));
    EXPECT_NEAR(below.left + below.width / 2.0, 100.0 + 84.0 * static_cast<double>(i), exact);
    EXPECT_NEAR(below.top, 920.0 + 12.0, exact);

    const drawn_word &beside = words[11 + i];
    EXPECT_EQ(beside.text, std::to_string(2 * static_cast<int>(i) - 10));
    EXPECT_NEAR(beside.left + beside.width, 100.0 - 12.0, exact);
    EXPECT_NEAR(beside.top + beside.ink_height / 2.0, 920.0 - 84.0 * static_cast<double>(i), exact);
  }
}

TEST(renderer_words_test, labels_reversed_axes_from_the_other_end) {
  const owned_record<chart> source = square_chart();
  source->reverse_x = source->reverse_y = true;
  const std::vector<drawn_word> words = words_on_paper(*source);
  EXPECT_EQ(words[0].text, "0");
  EXPECT_NEAR(words[0].left + words[0].width / 2.0, 940.0, exact);
  EXPECT_EQ(words[12].text, "-8");
  EXPECT_NEAR(words[12].top + words[12].ink_height / 2.0, 164.0, exact);
}

TEST(renderer_words_test, writes_everything_in_one_font_and_in_black) {
  const owned_record<chart> source = square_chart();
  source->first_series->label = try_duplicate("label");
  source->first_series->colour = red;
  for (const drawn_word &word : words_on_paper(*source)) {
    EXPECT_EQ(word.font, "arial 12px") << word.text;
    EXPECT_EQ(word.colour, 0U) << word.text;
  }
  // 0.0225 of 300 points.
  EXPECT_EQ(words_of(draw_logged(*source, page_kind::vector, 500.0, 300.0))[0].font, "arial 6.75px");
}

TEST(renderer_words_test, centres_titles_at_whole_points) {
  const std::vector<drawn_word> words = words_on_paper(*square_chart());
  const drawn_word &title = words[22];
  EXPECT_EQ(title.text, "chart title");
  EXPECT_TRUE(title.is_upright);
  EXPECT_NEAR(title.left, std::trunc(500.0 - title.width / 2.0), exact);
  EXPECT_NEAR(title.top, 30.0, exact);

  const drawn_word &across = words[23];
  EXPECT_EQ(across.text, "across");
  EXPECT_NEAR(across.left, std::trunc(500.0 - across.width / 2.0), exact);
  EXPECT_NEAR(across.top, 969.0, exact);  // 920 + 49.5

  // Turned by a quarter, its x runs up the page: -500 is the middle.
  const drawn_word &upwards = words[24];
  EXPECT_EQ(upwards.text, "upwards");
  EXPECT_FALSE(upwards.is_upright);
  EXPECT_NEAR(upwards.left, -500.0 - upwards.width / 2.0, exact);
  EXPECT_NEAR(upwards.top, 8.0, exact);  // 100 - 92
}

TEST(renderer_words_test, truncates_titles_in_odd_cells_as_well) {
  // Cell 2 of 333 by 251 starts at 166.5 and is 166.5 by 125.5; its plot starts at 183.15 and ends at 115.46.
  const std::vector<drawn_word> words = words_of(draw_logged(*square_chart(), page_kind::vector, 333.0, 251.0, 2));
  const drawn_word &title = words[22];
  EXPECT_NEAR(title.left, std::trunc(249.75 - title.width / 2.0), exact);
  EXPECT_NEAR(title.top, 3.0, exact);        // 3.765
  EXPECT_NEAR(words[23].top, 121.0, exact);  // 115.46 + 6.21225
  EXPECT_NEAR(words[24].left, -62.75 - words[24].width / 2.0, exact);
  EXPECT_NEAR(words[24].top, 167.0, exact);  // 183.15 - 15.318

  // On a large page a tenth of a per cent is two points: 1840 + 99, and 200 - 184.
  const std::vector<drawn_word> large = words_of(draw_logged(*square_chart(), page_kind::vector, 2000.0, 2000.0));
  EXPECT_NEAR(large[22].top, 60.0, exact);
  EXPECT_NEAR(large[23].top, 1939.0, exact);
  EXPECT_NEAR(large[24].top, 16.0, exact);
}

TEST(renderer_words_test, moves_the_titles_of_one_scale_with_the_plot) {
  const owned_record<chart> source = square_chart();
  source->equal_scale = true;
  source->x_step = source->y_step = 0.0;
  // A point at (0.5, 499.5) makes it high: x spans 19 and counts 1 tick or none, y 509.
  ASSERT_TRUE(series_add_point(*source->first_series, {0.5, 499.5}));
  const std::vector<drawn_item> items = draw_logged(*source, page_kind::vector, 1000.0, 1000.0);
  const drawn_shape frame = shapes_of(items)[1];
  EXPECT_GT(frame.low.x, 400.0);
  EXPECT_NEAR(words_of(items).back().top, std::trunc(frame.low.x - 92.0), exact);
}

TEST(renderer_words_test, gaps_are_snapped_on_pictures_and_label_places_are_not) {
  // 500 by 300: plot from (50, 24), 420 by 252; the gap of 3.6 becomes 3.5.
  const std::vector<drawn_word> words = words_of(draw_logged(*square_chart(), page_kind::raster, 500.0, 300.0));
  EXPECT_NEAR(words[1].left + words[1].width / 2.0, 92.0, exact);
  EXPECT_NEAR(words[1].top, 276.0 + 3.5, exact);
  EXPECT_NEAR(words[12].left + words[12].width, 50.0 - 3.5, exact);
  EXPECT_NEAR(words[12].top + words[12].ink_height / 2.0, 250.8, exact);
}

struct label_case {
  const char *name;
  vec2 low, high;
  double step;
  std::string labels;  // of the x axis
};

const label_case label_cases[] = {
    {"four digits",
     {12340.5, 0},
     {12359.5, 0},
     2.0,
     "1.234e+04 1.234e+04 1.234e+04 1.235e+04 1.235e+04 1.235e+04 1.235e+04 1.235e+04 1.236e+04 1.236e+04 1.236e+04 "},
    // 1008.4 goes down to 1000; 1091.6 up to 1100.
    {"thousands", {1010, 0}, {1090, 0}, 20.0, "1000 1020 1040 1060 1080 1100 "},
    // -0.32 goes down to -0.375, where no label stands; 0.72 up to 0.75.
    {"quarters", {-0.3, 0}, {0.7, 0}, 0.25, "-0.25 0 0.25 0.5 0.75 "},
    {"each once", {-29, 0}, {29, 0}, 10.0, "-30 -20 -10 0 10 20 30 "},
    {"a tick where the axis ends between two", {0.1, 0}, {4.4, 0}, 2.0, "0 2 4 "},
    {"tenths do not add up exactly", {-0.29, 0}, {0.29, 0}, 0.1, "-0.3 -0.2 -0.1 0 0.1 0.2 0.3 "},
};

TEST(renderer_words_test, labels_whole_multiples_of_the_step_with_four_digits) {
  for (const label_case &c : label_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> source = chart_new();
    source->x_step = c.step;
    owned_record<series> curve = series_new(2);
    ASSERT_TRUE(series_add_point(*curve, c.low) && series_add_point(*curve, c.high));
    chart_add_series(*source, std::move(curve));
    std::string labels;
    const std::vector<drawn_item> items = draw_logged(*source, page_kind::vector, 1000.0, 1000.0);
    for (const drawn_word &word : words_of(items)) {
      if (std::fabs(word.top - 932.0) < 1.0) labels += word.text + ' ';
    }
    EXPECT_EQ(labels, c.labels);
  }
}

owned_record<chart> legend_chart() {
  owned_record<chart> made = square_chart();
  made->first_series->label = try_duplicate("the curve");
  const series_style styles[] = {series_style::thick_dashed, series_style::thin_dashed,     series_style::filled_circle,
                                 series_style::open_circle,  series_style::solid_with_dots, series_style::star};
  for (const series_style style : styles) {
    owned_record<series> curve = series_new(1);
    curve->style = style;
    curve->colour = 0x100000U * (static_cast<std::uint32_t>(style) + 1);
    curve->label = try_duplicate(style == series_style::star ? "the one with the longest label" : "gyp");
    chart_add_series(*made, std::move(curve));
    chart_add_series(*made, series_new(1));  // has no label: takes no row
  }
  return made;
}

struct legend_case {
  const char *name;
  page_kind kind;
  std::uint32_t right;
};

const legend_case legend_cases[] = {
    {"left on paper", page_kind::vector, 0},
    {"right on paper", page_kind::vector, 1},
    {"left on a picture", page_kind::raster, 0},
    {"right on a picture", page_kind::raster, 1},
};

TEST(renderer_words_test, lists_labelled_series_in_a_corner) {
  for (const legend_case &c : legend_cases) {
    SCOPED_TRACE(c.name);
    const owned_record<chart> source = legend_chart();
    source->legend_right = c.right;
    const std::vector<drawn_item> items = draw_logged(*source, c.kind, 1000.0, 1000.0);
    std::size_t first = items.size();
    while (first > 0 && !(items[first - 1].shape.size() == 1 && items[first - 1].shape[0].colour == 0xf5f5f5)) --first;
    ASSERT_GT(first, 0U);
    ASSERT_EQ(items.size(), first + 14);

    // Font 12, dots of 3: rows of 14.4, samples of 18, a margin of 3; on the picture rows of 14, all else half a pixel
    // further.
    const bool is_paper = c.kind == page_kind::vector;
    const double row_height = is_paper ? 14.4 : 14.0;
    const double top = is_paper ? 92.0 : 80.5 + 12.5;
    const double width = 18.0 + 3.0 + items.back().word.at(0).width;
    const double left = c.right == 0 ? (is_paper ? 112.0 : 100.5 + 12.5) : (is_paper ? 928.0 : 940.5 - 12.5) - width;

    const drawn_shape &box = items[first - 1].shape[0];
    EXPECT_TRUE(box.is_filled);
    EXPECT_NEAR(box.low.x, left - 3.0, exact);
    EXPECT_NEAR(box.low.y, top - 3.0, exact);
    EXPECT_NEAR(box.high.x, left + width + 3.0, exact);
    EXPECT_NEAR(box.high.y, top + 7 * row_height + 3.0, exact);
    for (std::size_t row = 0; row < 7; ++row) {
      SCOPED_TRACE(row);
      const drawn_shape &sample = items[first + 2 * row].shape.at(0);
      const drawn_word &label = items[first + 2 * row + 1].word.at(0);
      const double row_top = top + static_cast<double>(row) * row_height;
      EXPECT_EQ(label.text, row == 0 ? "the curve" : row == 6 ? "the one with the longest label" : "gyp");
      EXPECT_NEAR(label.left, left + 21.0, exact);
      EXPECT_NEAR(label.top, row_top, exact);
      EXPECT_EQ(label.colour, 0U);
      const double half = label.ink_height / 2.0;
      const double middle = row_top + (is_paper ? half : std::round(half));
      const bool is_line = row != 3 && row != 4 && row != 6;
      EXPECT_EQ(sample.colour, row == 0 ? 0U : 0x100000U * (static_cast<std::uint32_t>(row) + 1));
      EXPECT_EQ(sample.is_filled, !is_line);
      EXPECT_EQ(sample.is_round, !is_line);
      EXPECT_NEAR(sample.low.y, middle - (is_line ? 0.0 : 3.0), 0.02);
      EXPECT_NEAR(sample.high.y, middle + (is_line ? 0.0 : 3.0), 0.02);
      EXPECT_NEAR(sample.low.x, left + (is_line ? 0.0 : 6.0), 0.02);
      EXPECT_NEAR(sample.high.x, left + (is_line ? 18.0 : 12.0), 0.02);
      if (is_line) {
        EXPECT_EQ(sample.width, 1.5);
        EXPECT_TRUE(sample.dash.empty());
      }
    }
  }
}

TEST(renderer_words_test, draws_no_legend_without_labels) {
  for (const drawn_shape &shape : shapes_of(draw_logged(*square_chart(), page_kind::vector, 1000.0, 1000.0))) {
    EXPECT_NE(shape.colour, 0xf5f5f5U);
  }
}

TEST(renderer_words_test, draws_a_chart_without_titles) {
  const owned_record<chart> bare = chart_new();
  const std::vector<drawn_word> words = words_on_paper(*bare);
  ASSERT_EQ(words.size(), 11U + 11U + 3U);
  EXPECT_EQ(words.back().text, "");
}

}  // namespace
}  // namespace tarvel
