#include "drawing/pages.h"

#include <cairo-pdf.h>

#include <algorithm>
#include <span>

#include "drawing/drawing_guard.h"
#include "drawing/drawing_handles.h"
#include "drawing/renderer.h"

namespace tarvel {

namespace {

// Points: landscape letter.
constexpr double page_width = 792.0;
constexpr double page_height = 612.0;

// Pixels.
constexpr int picture_width = 1200;
constexpr int picture_height = 928;

struct page_cell {
  std::uint32_t cell;  // as in lay_out_cell
  owned_record<chart> (*build)(const chart_context &context);
};

// In drawing order.
constexpr page_cell first_page[] = {
    {1, build_overhead_chart}, {3, build_side_view_chart}, {2, build_dive_speed_chart}, {4, build_swoop_speed_chart}};
constexpr page_cell second_page[] = {
    {1, build_dive_angle_chart}, {3, build_gps_accuracy_chart}, {2, build_turn_rate_chart}, {4, build_heading_chart}};

using chart_page = std::span<const page_cell>;
constexpr chart_page pages[] = {first_page, second_page};

// When there is no memory for a chart, its cell stays empty and the slot is set.
void draw_page(cairo_t *cr, chart_page page, const chart_context &charts, error_slot *error) {
  for (const page_cell &part : page) {
    const owned_record<chart> built = part.build(charts);
    draw_chart(cr, built.get(), part.cell);
    if (!built) *error = "failed to allocate memory for charts";
  }
}

cairo_status_t write_to_file(void *file, const unsigned char *data, unsigned int length) {
  const bool is_written = std::fwrite(data, 1, length, static_cast<std::FILE *>(file)) == length;
  return is_written ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

}  // namespace

void write_pdf_charts(std::FILE *file, const chart_context &charts, error_slot *error) {
  const surface_handle surface(cairo_pdf_surface_create_for_stream(write_to_file, file, page_width, page_height));
  const context_handle context(cairo_create(surface.get()));
  for (const chart_page page : pages) {
    draw_page(context.get(), page, charts, error);
    cairo_show_page(context.get());
  }
  if (!*error) *error = drawing_error(context.get());
  cairo_surface_finish(surface.get());
  if (!*error) *error = drawing_error(cairo_surface_status(surface.get()));
}

void write_png_charts(std::FILE *file, const chart_context &charts, error_slot *error) {
  const surface_handle surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture_width, picture_height));
  const context_handle context(cairo_create(surface.get()));
  draw_page(context.get(), first_page, charts, error);
  if (!*error) *error = drawing_error(context.get());
  const cairo_status_t written = cairo_surface_write_to_png_stream(surface.get(), write_to_file, file);
  if (!*error) *error = drawing_error(written);
}

// Both constants are above what was measured: 40 MB for Debian's fonts, the threads that read them and two pages
// without curves, and 2,100 bytes for each sample of all eight charts together.
std::size_t drawing_memory(const chart_context &charts) {
  constexpr std::size_t fixed = std::size_t{64} << 20;
  constexpr std::size_t per_sample_and_chart = 512;
  const std::uint32_t end = charts.run.stop;
  const std::size_t samples = end - std::min(first_sample(charts), end);
  std::size_t room = fixed;
  for (const chart_page page : pages) room += per_sample_and_chart * samples * page.size();
  return room;
}

}  // namespace tarvel
