#include "drawing/pages.h"

#include <cairo-pdf.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "chart/chart_building.h"
#include "drawing/drawing_handles.h"
#include "drawing/drawing_setup.h"
#include "drawing/renderer.h"
#include "driver/file_handle.h"

namespace tarvel {

namespace {

// Points: landscape letter.
constexpr double page_width = 792.0;
constexpr double page_height = 612.0;

// Pixels.
constexpr int picture_width = 1200;
constexpr int picture_height = 928;

constexpr error_slot no_memory = "failed to allocate memory for charts";

using chart_builder = owned_record<chart> (*)(const chart_context &context);

struct page_cell {
  std::uint32_t cell;
  chart_builder build;
};

using chart_page = std::array<page_cell, 4>;

constexpr chart_page first_page = {
    {{1, build_overhead_chart}, {3, build_side_view_chart}, {2, build_dive_speed_chart}, {4, build_swoop_speed_chart}}};
constexpr chart_page second_page = {
    {{1, build_dive_angle_chart}, {3, build_gps_accuracy_chart}, {2, build_turn_rate_chart}, {4, build_heading_chart}}};

// A chart that there is no memory for leaves its cell empty. False then.
[[nodiscard]] bool draw_page(cairo_t *cr, const chart_page &page, const chart_context &context) {
  bool is_complete = true;
  for (const page_cell &part : page) {
    const owned_record<chart> built = part.build(context);
    draw_chart(cr, built.get(), part.cell);
    is_complete = is_complete && built != nullptr;
  }
  return is_complete;
}

// Null with a message when the drawing cannot begin.
file_handle open_document(const char *path, const chart_context &context, error_slot *error) {
  const std::uint32_t end = context.run.stop;
  prepare_drawing(end - std::min(first_sample(context), end), error);
  if (*error) return nullptr;
  return open_output(path, error);
}

// What is missing on the pages, null for nothing. A context that has failed draws nothing more and does not tell its
// surface.
error_slot find_gap(cairo_t *cr, bool has_all_charts) {
  if (!has_all_charts || cairo_status(cr) == CAIRO_STATUS_NO_MEMORY) return no_memory;
  if (!has_readable_font(cr)) return "failed to read font for charts";
  return nullptr;
}

// cairo writes through the same door as every other output.
cairo_status_t write_to_file(void *closure, const unsigned char *data, unsigned int length) {
  const bool is_written = std::fwrite(data, 1, length, static_cast<std::FILE *>(closure)) == length;
  return is_written ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

void close_document(file_handle file, cairo_status_t status, error_slot gap, const char *path, error_slot *error) {
  close_output(std::move(file), path, error);
  if (*error) return;
  *error = status == CAIRO_STATUS_SUCCESS ? gap : format_error("failed to write file: %s", path);
}

}  // namespace

void write_swoop_pdf(const char *path, const swoop &run, const pond_outline *pond, bool metric, bool from_exit,
                     error_slot *error) {
  const chart_context charts = {run, pond, metric, from_exit};
  file_handle file = open_document(path, charts, error);
  if (!file) return;

  const surface_handle surface(cairo_pdf_surface_create_for_stream(write_to_file, file.get(), page_width, page_height));
  error_slot gap = nullptr;
  {
    const context_handle context(cairo_create(surface.get()));
    const bool is_first_complete = draw_page(context.get(), first_page, charts);
    cairo_show_page(context.get());
    const bool is_second_complete = draw_page(context.get(), second_page, charts);
    cairo_show_page(context.get());
    gap = find_gap(context.get(), is_first_complete && is_second_complete);
  }
  cairo_surface_finish(surface.get());
  close_document(std::move(file), cairo_surface_status(surface.get()), gap, path, error);
}

void write_swoop_png(const swoop &run, const pond_outline *pond, bool metric, bool from_exit, error_slot *error) {
  constexpr const char *path = "out.png";
  const chart_context charts = {run, pond, metric, from_exit};
  file_handle file = open_document(path, charts, error);
  if (!file) return;

  const surface_handle surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture_width, picture_height));
  error_slot gap = nullptr;
  {
    const context_handle context(cairo_create(surface.get()));
    gap = find_gap(context.get(), draw_page(context.get(), first_page, charts));
  }
  const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), write_to_file, file.get());
  close_document(std::move(file), status, gap, path, error);
}

}  // namespace tarvel
