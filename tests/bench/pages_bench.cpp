// Time of building and of drawing a chart of 20,000 samples, and of whole PDF documents. All samples are drawn; in a
// real run they are some hundreds, those of turn and swoop.
#include <benchmark/benchmark.h>
#include <cairo-pdf.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "chart/run_charts.h"
#include "drawing/drawing_handles.h"
#include "drawing/pages.h"
#include "drawing/renderer.h"

namespace tarvel {
namespace {

// A turn of 450 degrees and a swoop, without samples before or after.
swoop make_run(std::uint32_t samples) {
  swoop run;
  if (!try_resize(run.track, samples)) std::abort();
  run.track_len = samples;
  for (std::uint32_t i = 0; i < samples; ++i) {
    const double part = static_cast<double>(i) / samples;
    gps_point &s = run.track[i] = gps_point();
    s.time = 1'000'000 + std::int64_t{i} * 200;
    const double angle = part * 7.85;
    s.pos_local = {200.0 * part - 100.0, 50.0 * std::sin(angle), 400.0 * (1.0 - part)};
    s.vel_local = {30.0 * std::cos(angle), 30.0 * std::sin(angle), -30.0 * (1.0 - part)};
    s.hacc = s.vacc = s.sacc = 0.5F;
    s.numsv = static_cast<std::uint8_t>(12 + i / 1000 % 3);
    s.dive_angle = 60.0 * (1.0 - part);
    s.heading = std::fmod(part * 450.0, 360.0);
    s.turn_angle = 450.0 / samples;
    s.turn_rate = 450.0 / samples * 5.0;
  }
  run.file = try_duplicate("run.csv");
  run.top_of_turn = 1;
  run.max_vert_speed = run.max_total_speed = samples / 2;
  run.max_horz_speed = run.bottom_of_turn = run.entry_gate = samples * 3 / 4;
  run.stop = samples - 1;
  run.entry_gate_speed = 30.0;
  run.entry_gate_time = run.track[run.entry_gate].time;
  return run;
}

void document(benchmark::State &state) {
  const auto samples = static_cast<std::uint32_t>(state.range(0));
  const swoop run = make_run(samples);
  error_slot error = nullptr;
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen("/dev/null", "wb"), std::fclose);
  for (auto round : state) write_pdf_charts(file.get(), {run}, &error);
  if (error) state.SkipWithError(error);
  state.counters["per_sample"] =
      benchmark::Counter(samples, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

using chart_builder = owned_record<chart> (*)(const chart_context &context);

constexpr std::uint32_t sample_count = 20'000;

void build(benchmark::State &state, chart_builder builder) {
  const swoop run = make_run(sample_count);
  for (auto round : state) benchmark::DoNotOptimize(builder({run, nullptr, false, false}));
}

cairo_status_t forget(void *, const unsigned char *, unsigned int) { return CAIRO_STATUS_SUCCESS; }

// On a PDF surface whose output is discarded.
void draw(benchmark::State &state, chart_builder builder) {
  const swoop run = make_run(sample_count);
  const owned_record<chart> built = builder({run, nullptr, false, false});
  for (auto round : state) {
    const surface_handle surface(cairo_pdf_surface_create_for_stream(forget, nullptr, 792.0, 612.0));
    const context_handle context(cairo_create(surface.get()));
    draw_chart(context.get(), built.get(), 1);
    cairo_show_page(context.get());
  }
}

BENCHMARK(document)->Arg(100)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, gps_accuracy, build_gps_accuracy_chart);
BENCHMARK_CAPTURE(build, dive_speed, build_dive_speed_chart);
BENCHMARK_CAPTURE(build, heading, build_heading_chart);
BENCHMARK_CAPTURE(build, overhead, build_overhead_chart);
BENCHMARK_CAPTURE(draw, gps_accuracy, build_gps_accuracy_chart);
BENCHMARK_CAPTURE(draw, dive_speed, build_dive_speed_chart);
BENCHMARK_CAPTURE(draw, heading, build_heading_chart);
BENCHMARK_CAPTURE(draw, overhead, build_overhead_chart);

}  // namespace
}  // namespace tarvel
