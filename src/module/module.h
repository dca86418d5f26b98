// The engine for hosts that are not C++ programs: bytes in, bytes out, by functions that any language can call. A
// browser calls them in WebAssembly.
//
// A host opens a file by passing its bytes, has it surveyed, analysed or split, and then asks for the outputs. Nothing
// is printed and no file is opened: the bytes of a course file that tarvel would read are passed beforehand. Clock
// times are in the time zone of the process, in WebAssembly UTC.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

struct tarvel_file;

// The bytes are valid until the next call with their file, or until the file is freed. size does not count a NUL.
struct tarvel_bytes {
  const char *data;
  std::size_t size;
};

// Allocates memory for a text, or for bytes that tarvel_open takes over; null when memory is short.
[[nodiscard]] char *tarvel_allocate(std::size_t size);
void tarvel_release(char *block);

// Opens a file with these bytes, a block of tarvel_allocate that is taken over even when the call fails. The name is
// NUL-terminated, and is copied. Null when memory is short.
[[nodiscard]] tarvel_file *tarvel_open(const char *name, char *bytes, std::size_t size);
// Null is allowed.
void tarvel_free(tarvel_file *file);

// "version 2.23 (August 2, 2026)".
[[nodiscard]] const char *tarvel_version();

// Adds a course file for the analysis of a run, under the name by which an index finds it. The course file must stay
// open as long as the run. False when memory is short.
[[nodiscard]] bool tarvel_add_course(tarvel_file *run, const tarvel_file *course);

// Each of these three does its work once for a file. False with the message of the program.
//
// Like tarvel -g; the course file has the pond only when pond is true.
[[nodiscard]] bool tarvel_survey(tarvel_file *walk, bool pond);
// Like tarvel-json: over the course to which the course file of this name leads, or without a course when it is null.
// time_aloft is in ms.
[[nodiscard]] bool tarvel_analyse(tarvel_file *run, const char *course_name, bool metric, std::uint32_t time_aloft);
// Like tarvel-split.
[[nodiscard]] bool tarvel_split(tarvel_file *day);

// The number of jumps that tarvel_split would find in the track of a run that was analysed, successfully or not; the
// track is not read again. 0 for a track that could not be read, or when memory is short.
[[nodiscard]] std::uint32_t tarvel_track_jumps(const tarvel_file *run);

// The message of the last failure with the file, without "ERROR: "; null when nothing has failed.
[[nodiscard]] const char *tarvel_message(const tarvel_file *file);
// The readers' warnings, each a line that begins with "WARNING: "; never null.
[[nodiscard]] const char *tarvel_warnings(const tarvel_file *file);

// The outputs of a file; null with a message. A failed run has a document, too, and a map of its whole track if that
// was read. The document contains the check when tarvel_check was called before.
[[nodiscard]] const tarvel_bytes *tarvel_report(tarvel_file *run);    // run.txt of tarvel
[[nodiscard]] const tarvel_bytes *tarvel_document(tarvel_file *run);  // what tarvel-json prints
[[nodiscard]] const tarvel_bytes *tarvel_check(tarvel_file *run);     // what tarvel-check prints
[[nodiscard]] const tarvel_bytes *tarvel_map(tarvel_file *file);      // run.kml or walk.kml of tarvel
[[nodiscard]] const tarvel_bytes *tarvel_course(tarvel_file *walk);   // matrix.txt of a survey
[[nodiscard]] const tarvel_bytes *tarvel_log(tarvel_file *walk);      // what the survey prints, as far as it gets
[[nodiscard]] const tarvel_bytes *tarvel_listing(tarvel_file *day, bool metric);  // what tarvel-split prints

// The verdict of the last check: 0 good, 1 doubtful, 2 unusable.
[[nodiscard]] int tarvel_verdict(const tarvel_file *run);

// The number of jumps in a file that was split; the bytes and the name of the file that tarvel-split -w would write for
// one, counted from 0.
[[nodiscard]] std::uint32_t tarvel_jump_count(const tarvel_file *day);
[[nodiscard]] const tarvel_bytes *tarvel_jump(tarvel_file *day, std::uint32_t jump);
[[nodiscard]] const tarvel_bytes *tarvel_jump_name(tarvel_file *day, std::uint32_t jump);

}  // extern "C"
