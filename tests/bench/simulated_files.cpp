#include "simulated_files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

namespace tarvel {

namespace fs = std::filesystem;

namespace {

simulated_run run_of(track_form form, std::size_t samples) {
  simulated_run run;
  run.form = form;
  return stretched_to(run, samples);
}

void write(const char *name, const std::string &text) {
  std::ofstream file(name, std::ios::binary);
  file << text;
  if (!file.flush()) std::abort();
}

}  // namespace

const std::string &track_text(track_form form, std::size_t samples) {
  static std::map<std::pair<track_form, std::size_t>, std::string> texts;
  std::string &text = texts[{form, samples}];
  if (text.empty()) text = simulated_track(run_of(form, samples));
  return text;
}

track_folder::track_folder(std::size_t samples) : previous_(fs::current_path()) {
  path_ = (fs::temp_directory_path() / "tarvel_bench_XXXXXX").string();
  if (mkdtemp(path_.data()) == nullptr) std::abort();
  fs::current_path(path_);
  write("track.csv", track_text(track_form::header_lines, samples));
  write("matrix.txt", simulated_course(run_of(track_form::header_lines, samples)));
}

track_folder::~track_folder() {
  std::error_code ignored;
  fs::current_path(previous_, ignored);
  fs::remove_all(path_, ignored);
}

}  // namespace tarvel
