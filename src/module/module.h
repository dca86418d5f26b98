// The engine for hosts that are no C++ programs: bytes in, bytes out, by functions that any language can call. A browser
// calls them in WebAssembly.
//
// A file is opened with its bytes and then surveyed, analysed or split; what can be made of it is asked for afterwards.
// Nothing is printed and no file is opened: where tarvel reads a course file, the host gives its bytes beforehand. Clock
// times are those of the process, in WebAssembly UTC.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

struct tarvel_file;

// The bytes live until the next call with their file, or until that is freed. No NUL is counted.
struct tarvel_bytes {
  const char *data;
  std::size_t size;
};

// Room for texts, and for bytes that tarvel_open takes over; null when memory is short.
[[nodiscard]] char *tarvel_allocate(std::size_t size);
void tarvel_release(char *block);

// Takes over a block of tarvel_allocate, also when it fails. The name is copied; it is NUL-terminated. Null when memory is
// short.
[[nodiscard]] tarvel_file *tarvel_open(const char *name, char *bytes, std::size_t size);
// Null is allowed.
void tarvel_free(tarvel_file *file);

// "version 2.23 (August 2, 2026)".
[[nodiscard]] const char *tarvel_version();

// A course file for runs that are analysed from now on, under the name by which an index finds it. It stays open as long as
// the run; false when memory is short.
[[nodiscard]] bool tarvel_add_course(tarvel_file *run, const tarvel_file *course);

// These do the work, once for each file. False with a message of the program.
//
// As tarvel -g; the pond is left out of the course file unless it is asked for.
[[nodiscard]] bool tarvel_survey(tarvel_file *walk, bool pond);
// As tarvel-json: over the course to which that course file leads, or without one when the name is null. time_aloft in ms.
[[nodiscard]] bool tarvel_analyse(tarvel_file *run, const char *course_name, bool metric, std::uint32_t time_aloft);
// As tarvel-split.
[[nodiscard]] bool tarvel_split(tarvel_file *day);

// The jumps in the track of a run that was analysed, successfully or not, without reading it again: as many as tarvel_split
// finds. 0 for a track that could not be read, or when memory is short.
[[nodiscard]] std::uint32_t tarvel_track_jumps(const tarvel_file *run);

// The message of what failed last with the file, without "ERROR: "; null when nothing did.
[[nodiscard]] const char *tarvel_message(const tarvel_file *file);
// What the readers warn of, a line each with "WARNING: "; never null.
[[nodiscard]] const char *tarvel_warnings(const tarvel_file *file);

// What can be made of a file; null with a message. The document tells of a failed run, too, and of the check once that was
// made; a failed run has a map of its whole track if that was read.
[[nodiscard]] const tarvel_bytes *tarvel_report(tarvel_file *run);    // run.txt of tarvel
[[nodiscard]] const tarvel_bytes *tarvel_document(tarvel_file *run);  // what tarvel-json prints
[[nodiscard]] const tarvel_bytes *tarvel_check(tarvel_file *run);     // what tarvel-check prints
[[nodiscard]] const tarvel_bytes *tarvel_map(tarvel_file *file);      // run.kml or walk.kml of tarvel
[[nodiscard]] const tarvel_bytes *tarvel_course(tarvel_file *walk);   // matrix.txt of a survey
[[nodiscard]] const tarvel_bytes *tarvel_log(tarvel_file *walk);      // what the survey prints, as far as it gets
[[nodiscard]] const tarvel_bytes *tarvel_listing(tarvel_file *day, bool metric);  // what tarvel-split prints

// The severity of the last check: 0 to be trusted, 1 doubtful, 2 unusable.
[[nodiscard]] int tarvel_verdict(const tarvel_file *run);

// The jumps of a day, from 0, and the files that tarvel-split -w writes of them.
[[nodiscard]] std::uint32_t tarvel_jump_count(const tarvel_file *day);
[[nodiscard]] const tarvel_bytes *tarvel_jump(tarvel_file *day, std::uint32_t jump);
[[nodiscard]] const tarvel_bytes *tarvel_jump_name(tarvel_file *day, std::uint32_t jump);

}  // extern "C"
