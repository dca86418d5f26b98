// The PDF and PNG documents, which the tests read by other programs.
#include "drawing/pages.h"

#include <cairo.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "drawing/drawing_handles.h"
#include "driver/chart_files.h"
#include "driver/protected_inputs.h"
#include "support/allocation_limit.h"
#include "support/files.h"
#include "support/hand_made_swoop.h"
#include "support/pond_of.h"

namespace {

// Which function of cairo fails at its next call; the functions below replace them.
bool fails_context = false;
bool fails_surface = false;

}  // namespace

extern "C" cairo_status_t cairo_status(cairo_t *cr) {
  if (std::exchange(fails_context, false)) return CAIRO_STATUS_NO_MEMORY;
  return reinterpret_cast<cairo_status_t (*)(cairo_t *)>(dlsym(RTLD_NEXT, "cairo_status"))(cr);
}

extern "C" cairo_status_t cairo_surface_status(cairo_surface_t *surface) {
  if (std::exchange(fails_surface, false)) return CAIRO_STATUS_DEVICE_ERROR;
  return reinterpret_cast<cairo_status_t (*)(cairo_surface_t *)>(dlsym(RTLD_NEXT, "cairo_surface_status"))(surface);
}

namespace tarvel {
namespace {

const pond_outline pond = pond_of({{-10, 20, 0}, {80, 25, 0}, {85, -18, 0}, {-12, -22, 0}, {-10, 20, 0}});

struct page_word {
  std::size_t page = 0;
  std::string text;
  double x = 0.0;  // middle, points from the top left
  double y = 0.0;
};

struct document {
  std::vector<vec2> pages;  // width and height
  std::vector<page_word> words;
};

// Reads a PDF by pdftotext -bbox, which prints each word with its bounding box.
document read_pdf(const char *path) {
  document read;
  const std::string command = std::string("pdftotext -bbox ") + path + " -";
  std::FILE *const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return read;
  char line[1000];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    vec2 size;
    vec2 low;
    vec2 high;
    char text[500];
    if (std::sscanf(line, " <page width=\"%lf\" height=\"%lf\">", &size.x, &size.y) == 2) read.pages.push_back(size);
    if (std::sscanf(line, " <word xMin=\"%lf\" yMin=\"%lf\" xMax=\"%lf\" yMax=\"%lf\">%499[^<]", &low.x, &low.y,
                    &high.x, &high.y, text) == 5) {
      read.words.push_back({read.pages.size(), text, (low.x + high.x) / 2.0, (low.y + high.y) / 2.0});
    }
  }
  EXPECT_EQ(pclose(pipe), 0) << path << " is no PDF, or pdftotext is missing";
  return read;
}

std::string write_pdf(const char *path, const swoop &run, bool metric = false) {
  error_slot error = "stale";
  write_swoop_pdf(path, run, &pond, metric, false, &error);
  return error != nullptr ? error : "";
}

struct title_case {
  std::size_t page;
  const char *word;  // occurs in one title only
  double x, y;       // the title's middle line: 3 % below the top of a cell of 396 by 306
};

const title_case title_cases[] = {
    {1, "overhead", 198, 9}, {1, "side", 198, 315}, {1, "dive", 594, 9}, {1, "swoop", 594, 315},
    {2, "angle", 198, 9},    {2, "GPS", 198, 315},  {2, "rate", 594, 9}, {2, "heading", 594, 315},
};

TEST(pages_test, writes_two_landscape_pages_of_four_charts) {
  const temp_dir dir;
  ASSERT_EQ(write_pdf("run.pdf", hand_made_swoop()), "");
  const document read = read_pdf("run.pdf");
  ASSERT_EQ(read.pages.size(), 2U);
  for (const vec2 page : read.pages) {
    EXPECT_EQ(page.x, 792.0);
    EXPECT_EQ(page.y, 612.0);
  }
  for (const title_case &c : title_cases) {
    SCOPED_TRACE(c.word);
    const auto is_title = [&](const page_word &word) {
      return word.page == c.page && word.text == c.word && std::fabs(word.x - c.x) < 80.0 &&
             std::fabs(word.y - c.y) < 10.0;
    };
    EXPECT_EQ(std::count_if(read.words.begin(), read.words.end(), is_title), 1);
  }
  EXPECT_LT(read.words.size(), 400U);
}

std::size_t count_words(const document &read, const std::string &text) {
  return static_cast<std::size_t>(
      std::count_if(read.words.begin(), read.words.end(), [&](const page_word &word) { return word.text == text; }));
}

// Both axes of the two views, the x axes of all others but the accuracies.
TEST(pages_test, writes_either_system_of_units) {
  const temp_dir dir;
  ASSERT_EQ(write_pdf("run.pdf", hand_made_swoop(), true), "");
  const document metres = read_pdf("run.pdf");
  EXPECT_EQ(count_words(metres, "(meters)"), 9U);
  EXPECT_EQ(count_words(metres, "(feet)"), 0U);
  ASSERT_EQ(write_pdf("run.pdf", hand_made_swoop(), false), "");
  const document feet = read_pdf("run.pdf");
  EXPECT_EQ(count_words(feet, "(meters)"), 0U);
  EXPECT_EQ(count_words(feet, "(feet)"), 9U);
}

TEST(pages_test, draws_from_the_exit_when_asked) {
  const temp_dir dir;
  error_slot error = nullptr;
  write_swoop_pdf("run.pdf", hand_made_swoop(), nullptr, true, true, &error);
  ASSERT_EQ(error, nullptr);
  const document read = read_pdf("run.pdf");
  // The exit is 1000 m up; four charts have heights across, the side view upwards.
  EXPECT_EQ(count_words(read, "1000"), 5U);
}

TEST(pages_test, leaves_cells_empty_when_memory_is_short) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  {
    // The first allocation tests whether the drawing libraries have enough memory.
    const allocation_limit one(1);
    EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
  }
  const document empty = read_pdf("run.pdf");
  EXPECT_EQ(empty.pages.size(), 2U);
  EXPECT_TRUE(empty.words.empty());
  {
    // Overhead view and side view take 15 and 7 allocations; all later ones fail.
    const allocation_limit two_charts(1 + 15 + 7);
    EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
  }
  const document partial = read_pdf("run.pdf");
  EXPECT_EQ(count_words(partial, "view"), 2U);
  EXPECT_EQ(count_words(partial, "speed"), 0U);
  for (const page_word &word : partial.words) EXPECT_LT(word.x, 396.0) << word.text;
}

TEST(pages_test, keeps_an_earlier_document_when_there_is_no_memory_to_draw) {
  const temp_dir dir;
  write_text("run.pdf", "earlier");
  write_text("out.png", "earlier");
  const swoop run = hand_made_swoop();
  const allocation_limit none(0);
  EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
  EXPECT_EQ(read_text("run.pdf"), "earlier");
  error_slot error = nullptr;
  write_swoop_png(run, nullptr, false, false, &error);
  EXPECT_STREQ(error, "failed to allocate memory for charts");
  EXPECT_EQ(read_text("out.png"), "earlier");
}

TEST(pages_test, needs_64_megabytes_and_512_bytes_a_sample_and_chart) {
  swoop run = hand_made_swoop();
  const auto memory_to = [&](std::uint32_t stop, bool from_exit) {
    run.stop = stop;
    return drawing_memory({run, nullptr, false, from_exit});
  };
  EXPECT_EQ(memory_to(run.top_of_turn, false), 67108864U);
  EXPECT_EQ(memory_to(run.top_of_turn - 1, false), 67108864U);
  EXPECT_EQ(memory_to(run.top_of_turn + 1, false), 67112960U);
  EXPECT_EQ(memory_to(run.top_of_turn + 1000, false), 71204864U);
  EXPECT_EQ(memory_to(run.plane_exit + 1000, true), 71204864U);
  run.top_of_turn = 0;
  EXPECT_EQ(memory_to(UINT32_MAX, false), 17592253149184U);  // (2^32 - 1) * 2^12 + 2^26
}

// A sanitizer reserves more addresses than this limit.
#ifndef __SANITIZE_ADDRESS__
// Limits the address space, so that a large mapping fails even on a system that overcommits memory.
class address_limit {
 public:
  explicit address_limit(rlim_t bytes) {
    getrlimit(RLIMIT_AS, &before_);
    const rlimit now = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_AS, &now);
  }
  ~address_limit() { setrlimit(RLIMIT_AS, &before_); }
  address_limit(const address_limit &) = delete;
  address_limit &operator=(const address_limit &) = delete;

 private:
  rlimit before_ = {};
};

TEST(pages_test, fails_without_memory_for_the_samples_that_it_draws) {
  const temp_dir dir;
  swoop run = hand_made_swoop();
  run.stop = UINT32_MAX;
  const address_limit limit(rlim_t{1} << 43);
  EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
}
#endif

TEST(pages_test, fails_when_cairo_has_no_memory_for_a_page_or_for_the_document) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  fails_context = true;
  EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
  fails_surface = true;
  EXPECT_EQ(write_pdf("run.pdf", run), "failed to allocate memory for charts");
  EXPECT_EQ(write_pdf("run.pdf", run), "");
}

// An allocator may set errno although it succeeds.
TEST(pages_test, ignores_errno) {
  const temp_dir dir;
  errno = ENOMEM;
  EXPECT_EQ(write_pdf("run.pdf", hand_made_swoop()), "");
}

TEST(pages_test, fails_whichever_chart_is_missing) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  ASSERT_EQ(write_pdf("whole.pdf", run), "");
  std::string said = "failed to allocate memory for charts";
  for (std::size_t granted = 0; said == "failed to allocate memory for charts"; ++granted) {
    const allocation_limit limit(granted);
    said = write_pdf("run.pdf", run);
  }
  EXPECT_EQ(said, "");
  EXPECT_EQ(read_pdf("run.pdf").words.size(), read_pdf("whole.pdf").words.size());
}

TEST(pages_test, fails_to_draw_a_picture_when_memory_is_short) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  const allocation_limit two_charts(1 + 15 + 7);
  error_slot error = nullptr;
  write_swoop_png(run, nullptr, false, false, &error);
  EXPECT_STREQ(error, "failed to allocate memory for charts");
}

TEST(pages_test, reports_a_document_that_cannot_be_opened_or_written) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  EXPECT_EQ(write_pdf("missing/run.pdf", run), "failed to open file: missing/run.pdf");
  EXPECT_EQ(write_pdf(".", run), "failed to open file: .");
  EXPECT_EQ(write_pdf("/dev/full", run), "failed to write file: /dev/full");
}

TEST(pages_test, reports_a_picture_that_cannot_be_opened_or_written) {
  const temp_dir dir;
  const swoop run = hand_made_swoop();
  error_slot error = "stale";
  ASSERT_EQ(symlink("/dev/full", "out.png"), 0);
  write_swoop_png(run, nullptr, false, false, &error);
  EXPECT_STREQ(error, "failed to write file: out.png");
  ASSERT_EQ(unlink("out.png"), 0);
  ASSERT_EQ(mkdir("out.png", 0700), 0);
  write_swoop_png(run, nullptr, false, false, &error);
  EXPECT_STREQ(error, "failed to open file: out.png");
}

TEST(pages_test, keeps_a_track_that_has_the_name_of_the_document) {
  const temp_dir dir;
  write_text("run.pdf", "the only copy of the samples");
  error_slot error = nullptr;
  protect_input("run.pdf", &error);
  ASSERT_EQ(write_pdf("run.pdf", hand_made_swoop()), "");
  EXPECT_EQ(read_text("run.pdf.orig"), "the only copy of the samples");
  EXPECT_EQ(read_pdf("run.pdf").pages.size(), 2U);
}

// An image in floating point, each channel 0..255.
struct picture {
  int width = 0;
  int height = 0;
  std::vector<double> values;  // rgb rgb ...

  double &at(int x, int y, int channel) { return values[static_cast<std::size_t>((y * width + x) * 3 + channel)]; }
};

picture read_png(const char *path) {
  const surface_handle surface(cairo_image_surface_create_from_png(path));
  picture read;
  EXPECT_EQ(cairo_surface_status(surface.get()), CAIRO_STATUS_SUCCESS) << path;
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return read;
  EXPECT_EQ(cairo_image_surface_get_format(surface.get()), CAIRO_FORMAT_RGB24);
  read.width = cairo_image_surface_get_width(surface.get());
  read.height = cairo_image_surface_get_height(surface.get());
  read.values.resize(static_cast<std::size_t>(read.width * read.height * 3));
  const unsigned char *const data = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < read.height; ++y) {
    for (int x = 0; x < read.width; ++x) {
      for (int c = 0; c < 3; ++c) read.at(x, y, c) = data[y * stride + x * 4 + 2 - c];
    }
  }
  return read;
}

void write_png(picture &source, const char *path) {
  const surface_handle surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, source.width, source.height));
  unsigned char *const data = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      for (int c = 0; c < 3; ++c) {
        data[y * stride + x * 4 + 2 - c] = static_cast<unsigned char>(std::lround(source.at(x, y, c)));
      }
    }
  }
  cairo_surface_mark_dirty(surface.get());
  ASSERT_EQ(cairo_surface_write_to_png(surface.get(), path), CAIRO_STATUS_SUCCESS);
}

// Replaces each square of factor x factor pixels by one pixel.
picture shrink(picture source, int factor) {
  picture small;
  small.width = source.width / factor;
  small.height = source.height / factor;
  small.values.assign(static_cast<std::size_t>(small.width * small.height * 3), 0.0);
  for (int y = 0; y < small.height * factor; ++y) {
    for (int x = 0; x < small.width * factor; ++x) {
      for (int c = 0; c < 3; ++c) small.at(x / factor, y / factor, c) += source.at(x, y, c) / (factor * factor);
    }
  }
  return small;
}

constexpr int shrinkage = 4;

// For the image reduced to 300 by 232, with cells of 150 by 116. True where letters may be: outside the plot and in the
// corner of the legend.
bool may_hold_letters(int x, int y) {
  const int cell_x = x % 150;
  const int cell_y = y % 116;
  // A plot extends from 15 (10 %) to 141 across and from 9.3 (8 %) to 106.7 down. Its frame is not a letter.
  const bool is_in_plot = cell_x >= 14 && cell_x <= 142 && cell_y >= 9 && cell_y <= 107;
  if (!is_in_plot) return true;
  const bool is_left_legend = x >= 150 && y < 116 && cell_x < 75 && cell_y < 30;
  const bool is_right_legend = x >= 150 && y >= 116 && cell_x > 80 && cell_y < 30;
  return is_left_legend || is_right_legend;
}

double darkness(picture &source, int left, int top, int right, int bottom) {
  double sum = 0.0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) sum += 255.0 - source.at(x, y, 1);
  }
  return sum;
}

// Plots must be equal except for small differences of anti-aliasing. Letters may be of another font of similar
// darkness; where no letter is within a few letters' width, white must be white.
void expect_same_picture(picture &drawn, picture &golden) {
  ASSERT_EQ(drawn.width, golden.width);
  ASSERT_EQ(drawn.height, golden.height);
  for (int y = 0; y < drawn.height; ++y) {
    for (int x = 0; x < drawn.width; ++x) {
      if (may_hold_letters(x, y)) continue;
      for (int c = 0; c < 3; ++c) ASSERT_NEAR(drawn.at(x, y, c), golden.at(x, y, c), 4.0) << x << ' ' << y << ' ' << c;
    }
  }
  constexpr int block = 29;
  for (int top = 0; top + block <= drawn.height; top += block) {
    for (int left = 0; left + 30 <= drawn.width; left += 30) {
      const double expected = darkness(golden, left, top, left + 30, top + block);
      EXPECT_NEAR(darkness(drawn, left, top, left + 30, top + block), expected, 200.0 + expected / 3.0)
          << left << ' ' << top;
    }
  }
}

struct picture_case {
  const char *golden;
  bool metric;
  bool is_carve;
};

const picture_case picture_cases[] = {{"first_page_feet.png", false, false},
                                      {"first_page_metric_carve.png", true, true}};

TEST(pages_golden_test, draws_the_first_page) {
  const temp_dir dir;
  for (const picture_case &c : picture_cases) {
    SCOPED_TRACE(c.golden);
    swoop run = hand_made_swoop();
    run.carve_detected = c.is_carve;
    error_slot error = "stale";
    write_swoop_png(run, &pond, c.metric, false, &error);
    ASSERT_EQ(error, nullptr);
    picture whole = read_png("out.png");
    ASSERT_EQ(whole.width, 1200);
    ASSERT_EQ(whole.height, 928);
    picture small = shrink(whole, shrinkage);
    const std::string path = source_dir() + "/tests/golden/drawing/" + c.golden;
    if (std::getenv("TARVEL_UPDATE_GOLDEN") != nullptr) {
      write_png(small, path.c_str());
      continue;
    }
    picture golden = read_png(path.c_str());
    expect_same_picture(small, golden);
  }
}

}  // namespace
}  // namespace tarvel
