#include "document/run_document.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "document/chart_json.h"
#include "document/check_json.h"
#include "document/document_text.h"
#include "document/failure_code.h"
#include "document/json_values.h"
#include "document/result_json.h"
#include "document/track_json.h"
#include "geo/angle.h"
#include "support/units.h"
#include "swoop/analysis.h"

namespace tarvel {

namespace {

constexpr std::string_view warning_mark = "WARNING: ";

const char *kind_name(track_kind kind) {
  switch (kind) {
    case track_kind::header_lines: return "header-lines";
    case track_kind::tagged_lines: return "tagged-lines";
    case track_kind::container: break;
  }
  return "container";
}

const char *stage_name(run_stage stage) {
  switch (stage) {
    case run_stage::track: return "track";
    case run_stage::course: return "course";
    case run_stage::analysis: return "analysis";
    case run_stage::check: return "check";
    case run_stage::document: break;
  }
  return "document";
}

bool has_result(const run_facts &facts) { return facts.run != nullptr && facts.failure.message == nullptr; }

json seed_as_json(std::uint64_t seed) {
  return seed <= static_cast<std::uint64_t>(greatest_json_integer) ? json(seed) : json();
}

json options_as_json(const run_facts &facts) {
  return {{"implicit_gate", facts.implicit_gate},
          {"metric", facts.metric},
          {"time_aloft", facts.time_aloft == 0 ? json() : json(facts.time_aloft)},
          {"check", facts.asked_check != nullptr},
          {"draws", facts.asked_check != nullptr ? json(facts.asked_check->draws) : json()},
          {"seed", facts.asked_check != nullptr ? seed_as_json(facts.asked_check->seed) : json()}};
}

json program_as_json(const run_facts &facts) {
  return {{"name", facts.program}, {"version", facts.version}, {"options", options_as_json(facts)}};
}

json track_as_json(const run_facts &facts) {
  json track = {{"name", json_text(facts.track_name)}, {"sha256", json_text(facts.track_sha256)}};
  const bool is_read = facts.run != nullptr && facts.run->track_len > 0;
  const std::span<const gps_point> samples = is_read ? samples_of(*facts.run) : std::span<const gps_point>();
  track["form"] = facts.run != nullptr ? json(kind_name(facts.run->kind)) : json();
  track["count"] = samples.size();
  track["first_clock"] = is_read ? clock_as_json(samples.front().time) : json();
  track["last_clock"] = is_read ? clock_as_json(samples.back().time) : json();
  track["rate"] = rate_as_json(samples);
  return track;
}

json frame_as_json(const mat4 &frame) {
  json::array_t rows;
  for (const auto &row : frame.m) rows.push_back(json_column(row, json_number));
  return rows;
}

json pond_as_json(const pond_outline *pond) {
  if (pond == nullptr) return {};
  const std::span<const vec3> points = points_of(*pond);
  return {{"x", json_column(points, [](const vec3 &point) { return json_integer(scaled_integer(point.x, 1000.0)); })},
          {"y", json_column(points, [](const vec3 &point) { return json_integer(scaled_integer(point.y, 1000.0)); })}};
}

json carve_as_json(const swoop &run) {
  if (!run.carve_detected) return {};
  return run.carve_direction == carve_towards_minus_y ? "right" : "left";
}

// A frame that was built from the run itself is never rotated.
double turned_degrees(const swoop &run) {
  return run.gate_type == gate_type_course ? degrees_from_radians(correction_angle(run)) : 0.0;
}

json course_as_json(const run_facts &facts) {
  json course = {{"file", json_text(facts.course_name)}, {"sha256", json_text(facts.course_sha256)}};
  const bool is_flown = has_result(facts);
  course["gate"] = facts.course != nullptr ? json("surveyed") : is_flown ? json("implicit") : json();
  course["theta"] = facts.course != nullptr ? json_number(degrees_from_radians(facts.course->theta)) : json();
  course["reversed"] = is_flown ? json(facts.run->reversal_detected) : json();
  course["carve"] = is_flown ? carve_as_json(*facts.run) : json();
  course["turned"] = is_flown ? json_number(turned_degrees(*facts.run)) : json();
  course["frame"] = is_flown ? frame_as_json(facts.run->matrix) : json();
  course["pond"] = is_flown ? pond_as_json(facts.pond) : json();
  return course;
}

json warnings_as_json(const char *warnings) {
  json::array_t list;
  std::string_view rest = warnings == nullptr ? std::string_view() : std::string_view(warnings);
  while (!rest.empty()) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.starts_with(warning_mark)) line.remove_prefix(warning_mark.size());
    list.push_back(std::string(line));
  }
  return list;
}

json failure_as_json(const run_failure &failure) {
  if (failure.message == nullptr) return {};
  return {{"stage", stage_name(failure.stage)}, {"code", failure_code(failure.message)}, {"message", failure.message}};
}

// Each part has a line of its own.
void append_part_name(document_text &text, std::string_view name) {
  append_separator(text);
  if (text.size > 1) append(text, "\n");
  append_name(text, name);
}

void append_part(document_text &text, std::string_view name, const json &part) {
  append_part_name(text, name);
  append_json(text, part);
}

void append_result(document_text &text, const run_facts &facts, error_slot *error) {
  const swoop &run = *facts.run;
  const display_units units = display_units_for(facts.metric);
  append_part(text, "figures", figures_as_json(run, units));
  append_part(text, "check", facts.checked != nullptr ? check_as_json(run, *facts.checked, units, error) : json());
  if (*error) return;
  append_part(text, "phases", phases_as_json(run));
  append_part_name(text, "charts");
  append_charts(text, {run, facts.pond, facts.metric}, error);
  append_part_name(text, "samples");
  append_samples(text, run);
}

void append_document(document_text &text, const run_facts &facts, error_slot *error) {
  append(text, "{");
  append_part(text, "format", {{"name", run_format_name}, {"version", run_format_version}});
  append_part(text, "program", program_as_json(facts));
  append_part(text, "track", track_as_json(facts));
  append_part(text, "course", course_as_json(facts));
  append_part(text, "warnings", warnings_as_json(facts.warnings));
  append_part(text, "failure", failure_as_json(facts.failure));
  if (has_result(facts)) {
    append_result(text, facts, error);
  } else {
    for (const char *const part : {"figures", "check", "phases", "charts", "samples"}) append_part(text, part, json());
  }
  append_part_name(text, "overview");
  if (facts.run != nullptr) {
    append_overview(text, samples_of(*facts.run));
  } else {
    append(text, "null");
  }
  append(text, std::string_view("}\n\0", 3));
}

}  // namespace

owned_text format_run_document(const run_facts &facts, error_slot *error) {
  *error = nullptr;
  document_text text;
  append_document(text, facts, error);
  if (*error == nullptr && text.is_short_of_memory) *error = "failed to allocate memory for document";
  return *error == nullptr ? std::move(text.data) : nullptr;
}

}  // namespace tarvel
