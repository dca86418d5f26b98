// Pairs of simulated runs are joined. Each part must give the report of its run, and no sample may be lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "geo/mat4.h"
#include "split/stretches.h"
#include "support/hand_made_run.h"
#include "support/named_runs.h"
#include "support/recordings.h"
#include "swoop/analysis.h"
#include "swoop/report.h"

namespace tarvel {
namespace {

// The report of an analysis without a course, or the message.
std::string report_of(std::span<const gps_point> samples) {
  swoop run = run_of({samples.begin(), samples.end()});
  error_slot error = nullptr;
  analyze_swoop(run, gate_type_implicit, mat4(), 0.0, &error);
  if (error != nullptr) return error;
  return format_swoop_report(run, false, &error).get();
}

std::vector<std::string> reports_of_parts(const recording &track) {
  stretch_list list;
  error_slot error = nullptr;
  find_stretches(track, list, &error);
  EXPECT_EQ(error, nullptr);
  std::vector<std::string> reports;
  std::uint32_t end = 0;
  for (const stretch &part : stretches_of(list)) {
    EXPECT_EQ(part.samples.first, end);
    EXPECT_LT(part.samples.first, part.samples.end);
    end = part.samples.end;
    if (!is_descent(part)) continue;
    EXPECT_EQ(part.number, reports.size() + 1);
    reports.push_back(report_of(std::span(track).subspan(part.samples.first, end - part.samples.first)));
  }
  EXPECT_EQ(end, track.size());
  return reports;
}

struct join {
  const char *name;
  recording (*between)(const gps_point &last);
  std::int64_t pause;  // ms before the second run
};

const join joins[] = {
    {"switched off for an hour", [](const gps_point &) { return recording(); }, 3600000},
    {"no pause", [](const gps_point &) { return recording(); }, 100},
    {"half a minute later", [](const gps_point &) { return recording(); }, 30000},
    {"the clock goes back", [](const gps_point &) { return recording(); }, -7200000},
    {"ground and switched off", [](const gps_point &last) { return standing_behind(last, 900); }, 600000},
    {"ground", [](const gps_point &last) { return standing_behind(last, 900); }, 1000},
};

struct simulated_recording {
  const char *name;
  recording track;
  std::string report;
};

// Without a course such a run is the mirror image of another, the same, or the same with fewer samples.
bool is_like_another(std::string_view name) {
  return name == "carve_right" || name == "beside_the_gate" || name == "tagged";
}

std::vector<simulated_recording> simulated_recordings() {
  std::vector<simulated_recording> all;
  for (const named_run &given : named_runs) {
    if (is_like_another(given.name)) continue;
    recording track = recording_of(run_named(given));
    const std::string report = report_of(track);
    all.push_back({given.name, std::move(track), report});
  }
  return all;
}

TEST(joined_tracks_test, a_single_run_is_one_part) {
  int whole = 0;
  for (const simulated_recording &run : simulated_recordings()) {
    SCOPED_TRACE(run.name);
    EXPECT_EQ(reports_of_parts(run.track), std::vector<std::string>{run.report});
    if (run.report.find("touchdown estimate") != std::string::npos) ++whole;
  }
  EXPECT_GE(whole, 10);
}

TEST(joined_tracks_test, parts_have_the_reports_of_the_runs_in_every_order) {
  const std::vector<simulated_recording> all = simulated_recordings();
  for (const simulated_recording &first : all) {
    for (const simulated_recording &second : all) {
      for (const join &how : joins) {
        SCOPED_TRACE(std::string(first.name) + ", " + second.name + ", " + how.name);
        const recording before = first.track + how.between(first.track.back());
        const recording track = before + starting_at(second.track, before.back().time + how.pause);
        // Standing samples after a flight without a landing are its landing.
        const bool lands_later = std::string(first.name) == "never_stops" && before.size() > first.track.size();
        const std::string report = lands_later ? report_of(before) : first.report;
        EXPECT_EQ(reports_of_parts(track), (std::vector<std::string>{report, second.report}));
      }
    }
  }
}

TEST(joined_tracks_test, a_whole_day_falls_into_its_runs) {
  recording track;
  std::vector<std::string> reports;
  for (const simulated_recording &run : simulated_recordings()) {
    track = track.empty() ? run.track : track + starting_at(run.track, track.back().time + 1800000);
    reports.push_back(run.report);
  }
  EXPECT_EQ(reports_of_parts(track), reports);
}

}  // namespace
}  // namespace tarvel
