// The document of a run over any track. The first byte has the options: two bits of gate type, one for metric units,
// one for a time aloft, one for a course with a pond, one for a track that is not analysed, one that takes the bytes of
// the track as its name, one for a check. The rest is the track. Every document is valid JSON with all members; a
// number that JSON cannot express (NaN, infinity) would make it invalid.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "document/run_analysis.h"
#include "document/run_document.h"
#include "fuzz_run.h"

namespace {

using namespace tarvel;

course make_course(bool has_pond) {
  course made = flown_course(nullptr);
  if (!has_pond) return made;
  made.pond.emplace();
  for (const vec3 &point : std::array<vec3, 3>{{{1.0, 2.0, 0.0}, {70.0, -1e300, 0.0}, {1.0, 2.0, 0.0}}}) {
    require(append_pond_point(*made.pond, point));
  }
  return made;
}

constexpr const char *members[] = {"format",  "program", "track",  "course", "warnings", "failure",
                                   "figures", "check",   "phases", "charts", "samples",  "overview"};

// Writes the document to the folder $TARVEL_DOCUMENTS, so that a test can validate all of them by the schema.
void keep_document(const char *text) {
  const char *const folder = std::getenv("TARVEL_DOCUMENTS");
  if (folder == nullptr) return;
  static int number = 0;
  const std::string path = std::string(folder) + "/" + std::to_string(++number) + ".json";
  std::FILE *const file = std::fopen(path.c_str(), "wb");
  require(file != nullptr && std::fputs(text, file) >= 0 && std::fclose(file) == 0);
}

void require_whole(const run_facts &facts) {
  error_slot error = nullptr;
  const owned_text text = format_run_document(facts, &error);
  require(text != nullptr && error == nullptr);
  keep_document(text.get());
  const nlohmann::json document = nlohmann::json::parse(text.get(), nullptr, false);
  require(document.is_object() && document.size() == std::size(members));
  for (const char *const member : members) require(document.contains(member));
  const bool has_failed = facts.failure.message != nullptr;
  require(document["failure"].is_object() == has_failed);
  require(document["figures"].is_null() == has_failed && document["samples"].is_null() == has_failed);
  require(document["check"].is_object() == (facts.checked != nullptr));
  if (!has_failed) require(document["charts"].size() == 8 && document["phases"]["turn"].is_object());
  if (!document["overview"].is_null()) require(document["overview"]["time"].size() <= 4000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  const std::uint8_t options = data[0];
  const std::string bytes(reinterpret_cast<const char *>(data + 1), size - 1);
  const std::string name = (options & 64) != 0 ? bytes : "run.csv";
  const check_settings settings = {.draws = 40};
  run_facts facts;
  facts.program = "fuzzer";
  facts.version = "1";
  facts.track_name = name.c_str();
  facts.metric = (options & 4) != 0;
  facts.time_aloft = (options & 8) != 0 ? 5000 : 0;
  if ((options & 128) != 0) facts.asked_check = &settings;

  const file_handle stream = open_fuzz_input(data + 1, size - 1);
  analysed_run work;
  read_run(stream.get(), work, facts);
  if (facts.failure.message == nullptr && (options & 32) != 0) facts.failure = {run_stage::course, name.c_str()};
  if (facts.failure.message == nullptr) {
    if ((options & 3) != gate_type_implicit) work.flown = make_course((options & 16) != 0);
    analyse_run(work, facts);
  }
  if (facts.failure.message == nullptr && facts.asked_check != nullptr) {
    check_analysed_run(work, facts);
    require(facts.failure.message == nullptr);
  }
  require_whole(facts);
  return 0;
}
