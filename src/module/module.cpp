#include "module/module.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "check/run_check.h"
#include "document/run_analysis.h"
#include "document/run_document.h"
#include "formats/course_file.h"
#include "formats/kml.h"
#include "gate/gate_open.h"
#include "geo/course_frame.h"
#include "loader/track_loader.h"
#include "module/memory_stream.h"
#include "module/sha256.h"
#include "split/listing.h"
#include "split/part.h"
#include "split/stretches.h"
#include "support/version.h"
#include "swoop/report.h"
#include "verdict/check_report.h"

using namespace tarvel;

namespace {

constexpr std::uint32_t first_course_capacity = 8;
constexpr check_settings check_of_programs;
constexpr const char *no_memory = "malloc() failed";

// A walk or a finished course, surveyed.
struct survey_result {
  owned_record<gate> surveyed;
  owned_text log;
};

// The jumps in a track.
struct split_result {
  gps_track track;
  row_offsets rows;
  stretch_list list;
};

// A run; the facts point to the other members.
struct run_result {
  analysed_run work;
  sha256_text digest;
  course_link course_file;
  sha256_text course_digest;
  run_facts facts;
  owned_text failure;  // what the facts' message points to
};

// "2.23" of "version 2.23 (August 2, 2026)", as tarvel-json names itself.
constexpr std::string_view version_number = [] {
  constexpr std::string_view words = std::string_view(version).substr(std::string_view("version ").size());
  return words.substr(0, words.find(' '));
}();
constexpr auto version_text = [] {
  std::array<char, version_number.size() + 1> text = {};
  version_number.copy(text.data(), version_number.size());
  return text;
}();

// A course file that the host added; it outlives the run.
struct linked_course {
  const tarvel_file *file = nullptr;
};

}  // namespace

struct tarvel_file {
  owned_text name;
  memory_block content;
  owned_array<linked_course> courses;
  std::uint32_t course_count = 0;
  std::uint32_t course_capacity = 0;

  text_buffer warnings;  // of a survey or a split; a run has its own
  error_slot message = nullptr;
  owned_text message_copy;  // a later message would overwrite the one that the slot points to

  std::optional<survey_result> survey;
  std::optional<split_result> split;
  std::optional<run_result> run;

  memory_block made;
  tarvel_bytes output = {};
};

namespace {

// Stores the message of a call, null for success. True for success.
bool store_message(tarvel_file &file, error_slot error) {
  file.message = error;
  if (error == nullptr) return true;
  file.message_copy = try_duplicate(error);
  file.message = file.message_copy ? file.message_copy.get() : no_memory;
  return false;
}

const tarvel_bytes *output_of(tarvel_file &file) {
  file.output = {file.made.data.get(), file.made.size};
  return &file.output;
}

// Sets the result to the bytes that write(stream, error) writes.
template <typename writer>
const tarvel_bytes *written_output(tarvel_file &file, writer write) {
  error_slot error = nullptr;
  const bool is_written = write_block(file.made, [&](std::FILE *stream) { write(stream, &error); });
  if (!is_written && error == nullptr) error = no_memory;
  return store_message(file, error) ? output_of(file) : nullptr;
}

const tarvel_bytes *text_output(tarvel_file &file, owned_text text, error_slot error) {
  if (!store_message(file, error)) return nullptr;
  file.made.size = std::strlen(text.get());
  file.made.data = std::move(text);
  return output_of(file);
}

const tarvel_bytes *no_output(tarvel_file &file, error_slot error) {
  store_message(file, error);
  return nullptr;
}

// Returns the result of read(stream, warnings, error) for the file.
template <typename reader>
bool read_file(tarvel_file &file, reader read) {
  error_slot error = nullptr;
  file.warnings = text_buffer_create(&error);
  const memory_stream stream = error == nullptr ? open_block(file.content) : nullptr;
  if (!stream) return store_message(file, no_memory);
  error_slot warning_error = nullptr;
  file.warnings.error = &warning_error;
  read(stream.get(), file.warnings, &error);
  file.warnings.error = nullptr;
  return store_message(file, error == nullptr ? warning_error : error);
}

const tarvel_file *find_course(const tarvel_file &run, const char *name) {
  for (const linked_course &course : std::span(run.courses.get(), run.course_count)) {
    if (std::strcmp(course.file->name.get(), name) == 0) return course.file;
  }
  return nullptr;
}

course_answer read_one_course(const tarvel_file &run, const char *name, std::optional<course> &flown, course_link &link,
                              error_slot *error) {
  const tarvel_file *const file = find_course(run, name);
  if (file == nullptr) {
    *error = format_error("failed to open file: %s", name);
    return course_answer::here;
  }
  const memory_stream stream = open_block(file->content);
  if (!stream) {
    *error = no_memory;
    return course_answer::here;
  }
  course found;
  const course_answer answer = read_course(stream.get(), name, run.name.get(), found, link, error);
  if (answer == course_answer::here && *error == nullptr) flown = std::move(found);
  return answer;
}

void read_track(const tarvel_file &file, run_result &run) {
  run.digest = sha256_of({file.content.data.get(), file.content.size});
  run.facts.track_sha256 = run.digest.text;
  const memory_stream stream = open_block(file.content);
  if (stream) {
    read_run(stream.get(), run.work, run.facts);
  } else {
    run.facts.failure.message = no_memory;
  }
}

void find_flown_course(const tarvel_file &file, const char *course_name, run_result &run) {
  run.facts.failure.stage = run_stage::course;
  error_slot *const error = &run.facts.failure.message;
  const auto read = [&](const char *name, course_link &link) {
    return read_one_course(file, name, run.work.flown, link, error);
  };
  follow_course_files(course_name, run.course_file, read, error);
  run.facts.course_name = run.course_file.path;
  const tarvel_file *const found = find_course(file, run.course_file.path);
  if (*error || found == nullptr) return;
  run.course_digest = sha256_of({found->content.data.get(), found->content.size});
  run.facts.course_sha256 = run.course_digest.text;
}

bool is_analysed(const tarvel_file &file) { return file.run && file.run->facts.failure.message == nullptr; }

// Writes the map from the top of the turn to the stop, for a failed run that of the whole track. The stop itself is
// left out: from there on the pilot may walk.
void write_run_map(std::FILE *stream, const swoop &run, bool is_sound) {
  if (is_sound) {
    const gate_ends ends = entry_gate_ends(run.matrix);
    const std::span<const gps_point> flown = samples_of(run, {run.top_of_turn, run.stop});
    return write_kml(stream, run.track[run.top_of_turn].time, flown, &ends);
  }
  write_kml(stream, run.track_len == 0 ? 0 : run.track[0].time, samples_of(run), nullptr);
}

void write_walk_map(std::FILE *stream, const gate &surveyed) {
  const gate_ends ends = entry_gate_ends(surveyed.course.matrix);
  write_kml(stream, surveyed.track[0].time, samples_of(surveyed), &ends);
}

split_source source_of(const tarvel_file &file, std::FILE *stream) {
  const split_result &split = *file.split;
  return {file.name.get(),
          stream,
          {split.track.points.get(), split.track.count},
          {split.rows.offsets.get(), split.rows.count}};
}

std::uint32_t count_jumps(const stretch_list &list) {
  const std::span<const stretch> stretches = stretches_of(list);
  return static_cast<std::uint32_t>(std::count_if(stretches.begin(), stretches.end(), is_descent));
}

const stretch *find_jump(const tarvel_file &file, std::uint32_t jump) {
  if (!file.split) return nullptr;
  for (const stretch &part : stretches_of(file.split->list)) {
    if (is_descent(part) && part.number - 1 == jump) return &part;
  }
  return nullptr;
}

}  // namespace

char *tarvel_allocate(std::size_t size) {
  owned_text block;
  return try_resize(block, size == 0 ? 1 : size) ? block.release() : nullptr;
}

void tarvel_release(char *block) { owned_text(block).reset(); }

tarvel_file *tarvel_open(const char *name, char *bytes, std::size_t size) {
  memory_block content = {owned_text(bytes), size};
  owned_record<tarvel_file> file = try_make<tarvel_file>();
  if (!file || bytes == nullptr) return nullptr;
  file->name = try_duplicate(name);
  if (!file->name) return nullptr;
  file->content = std::move(content);
  return file.release();
}

void tarvel_free(tarvel_file *file) { owned_record<tarvel_file>(file).reset(); }

const char *tarvel_version() { return version; }

bool tarvel_add_course(tarvel_file *run, const tarvel_file *course) {
  return try_append(run->courses, run->course_count, run->course_capacity, first_course_capacity, {course});
}

bool tarvel_survey(tarvel_file *walk, bool pond) {
  survey_result &survey = walk->survey.emplace();
  const auto read = [&](std::FILE *stream, text_buffer &warnings, error_slot *error) {
    survey.surveyed = gate_open(stream, walk->name.get(), warnings, &survey.log, error);
  };
  if (!read_file(*walk, read)) return false;
  if (!pond) survey.surveyed->course.pond.reset();
  return true;
}

bool tarvel_analyse(tarvel_file *run, const char *course_name, bool metric, std::uint32_t time_aloft) {
  run_result &result = run->run.emplace();
  run_facts &facts = result.facts;
  facts.program = "tarvel-json";
  facts.version = version_text.data();
  facts.implicit_gate = course_name == nullptr;
  facts.metric = metric;
  facts.time_aloft = time_aloft;
  facts.track_name = run->name.get();

  read_track(*run, result);
  if (facts.failure.message == nullptr && course_name != nullptr) find_flown_course(*run, course_name, result);
  if (facts.failure.message == nullptr) analyse_run(result.work, facts);
  const bool is_sound = store_message(*run, facts.failure.message);
  if (!is_sound) {
    result.failure = try_duplicate(run->message);
    facts.failure.message = result.failure ? result.failure.get() : no_memory;
  }
  return is_sound;
}

bool tarvel_split(tarvel_file *day) {
  split_result &split = day->split.emplace();
  const auto read = [&](std::FILE *stream, text_buffer &warnings, error_slot *error) {
    static_cast<void>(load_swoop_rows(stream, split.track, split.rows, warnings, error));
    if (*error == nullptr) find_stretches({split.track.points.get(), split.track.count}, split.list, error);
  };
  const bool is_split = read_file(*day, read);
  if (!is_split) day->split.reset();
  return is_split;
}

std::uint32_t tarvel_track_jumps(const tarvel_file *run) {
  if (!run->run || !run->run->work.run) return 0;
  error_slot error = nullptr;
  stretch_list list;
  find_stretches(samples_of(*run->run->work.run), list, &error);
  return count_jumps(list);
}

const char *tarvel_message(const tarvel_file *file) { return file->message; }

const char *tarvel_warnings(const tarvel_file *file) {
  const text_buffer &warnings = file->run ? file->run->work.warnings : file->warnings;
  return warnings.data ? warnings.data.get() : "";
}

const tarvel_bytes *tarvel_report(tarvel_file *run) {
  if (!is_analysed(*run)) return nullptr;
  error_slot error = nullptr;
  owned_text report = format_swoop_report(*run->run->work.run, run->run->facts.metric, &error);
  return text_output(*run, std::move(report), error);
}

const tarvel_bytes *tarvel_document(tarvel_file *run) {
  if (!run->run) return nullptr;
  error_slot error = nullptr;
  owned_text document = format_run_document(run->run->facts, &error);
  return text_output(*run, std::move(document), error);
}

const tarvel_bytes *tarvel_check(tarvel_file *run) {
  if (!is_analysed(*run)) return nullptr;
  run_result &result = *run->run;
  result.facts.asked_check = &check_of_programs;
  check_analysed_run(result.work, result.facts);
  error_slot error = result.facts.failure.message;
  if (error) return no_output(*run, error);
  const checked_run &checked = *result.facts.checked;
  owned_text report =
      format_check_report(*result.work.run, checked.check, checked.verdict, result.facts.metric, &error);
  return text_output(*run, std::move(report), error);
}

const tarvel_bytes *tarvel_map(tarvel_file *file) {
  if (file->survey && file->survey->surveyed && file->survey->surveyed->track_len > 0) {
    return written_output(*file,
                          [&](std::FILE *stream, error_slot *) { write_walk_map(stream, *file->survey->surveyed); });
  }
  if (!file->run || !file->run->work.run) return nullptr;
  return written_output(
      *file, [&](std::FILE *stream, error_slot *) { write_run_map(stream, *file->run->work.run, is_analysed(*file)); });
}

const tarvel_bytes *tarvel_course(tarvel_file *walk) {
  if (!walk->survey || !walk->survey->surveyed) return nullptr;
  return written_output(*walk,
                        [&](std::FILE *stream, error_slot *) { write_course(stream, walk->survey->surveyed->course); });
}

const tarvel_bytes *tarvel_log(tarvel_file *walk) {
  if (!walk->survey || !walk->survey->log) return nullptr;
  walk->output = {walk->survey->log.get(), std::strlen(walk->survey->log.get())};
  return &walk->output;
}

const tarvel_bytes *tarvel_listing(tarvel_file *day, bool metric) {
  if (!day->split) return nullptr;
  return written_output(*day, [&](std::FILE *stream, error_slot *) {
    print_stretches(stream, source_of(*day, nullptr).samples, stretches_of(day->split->list), metric);
  });
}

int tarvel_verdict(const tarvel_file *run) {
  const bool is_checked = run->run && run->run->facts.checked != nullptr;
  return is_checked ? static_cast<int>(run->run->facts.checked->verdict.worst) : 0;
}

std::uint32_t tarvel_jump_count(const tarvel_file *day) { return day->split ? count_jumps(day->split->list) : 0; }

const tarvel_bytes *tarvel_jump(tarvel_file *day, std::uint32_t jump) {
  const stretch *const part = find_jump(*day, jump);
  if (part == nullptr) return nullptr;
  const memory_stream source = open_block(day->content);
  if (!source) return no_output(*day, no_memory);
  return written_output(*day, [&](std::FILE *stream, error_slot *error) {
    write_part(source_of(*day, source.get()), *part, stream, error);
  });
}

const tarvel_bytes *tarvel_jump_name(tarvel_file *day, std::uint32_t jump) {
  const stretch *const part = find_jump(*day, jump);
  if (part == nullptr) return nullptr;
  owned_text name = part_name(day->name.get(), part->number);
  const error_slot error = name ? nullptr : no_memory;
  return text_output(*day, std::move(name), error);
}
