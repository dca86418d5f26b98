#include "driver/chart_files.h"

#include <cstdio>

#include "drawing/drawing_guard.h"
#include "drawing/pages.h"
#include "driver/file_handle.h"

namespace tarvel {

namespace {

using chart_writer = void (*)(std::FILE *file, const chart_context &charts, error_slot *error);

// guard_drawing comes before the file is opened, so that an earlier document is kept when memory or threads are short.
void write_document(const char *path, const chart_context &charts, chart_writer write, error_slot *error) {
  guard_drawing(drawing_memory(charts), error);
  if (*error) return;
  file_handle file = open_output(path, error);
  if (!file) return;
  error_slot missing = nullptr;
  write(file.get(), charts, &missing);
  close_output(std::move(file), path, error);
  if (!*error) *error = missing;
}

}  // namespace

void write_swoop_pdf(const char *path, const swoop &run, const pond_outline *pond, bool metric, bool from_exit,
                     error_slot *error) {
  write_document(path, {run, pond, metric, from_exit}, write_pdf_charts, error);
}

void write_swoop_png(const swoop &run, const pond_outline *pond, bool metric, bool from_exit, error_slot *error) {
  write_document("out.png", {run, pond, metric, from_exit}, write_png_charts, error);
}

}  // namespace tarvel
