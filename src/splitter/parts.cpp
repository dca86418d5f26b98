#include "splitter/parts.h"

#include <unistd.h>

#include <csignal>
#include <utility>

#include "driver/file_handle.h"

namespace tarvel {

namespace {

// Holds back the signals by which a user ends the program, so that none of them leaves an incomplete part.
class held_signals {
 public:
  held_signals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~held_signals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  held_signals(const held_signals &) = delete;
  held_signals &operator=(const held_signals &) = delete;

 private:
  sigset_t before_{};
};

void write_part_file(const split_source &source, const stretch &part, const char *name, error_slot *error) {
  const held_signals held;
  file_handle file = open_new_output(name, error);
  if (!file) return;
  write_part(source, part, file.get(), error);
  close_output(std::move(file), name, error);
  if (*error) unlink(name);
}

void remove_parts(const char *path, std::span<const stretch> stretches) {
  for (const stretch &part : stretches) {
    if (!is_descent(part)) continue;
    const owned_text name = part_name(path, part.number);
    if (name) unlink(name.get());
  }
}

}  // namespace

void write_parts(const split_source &source, std::span<const stretch> stretches, error_slot *error) {
  *error = nullptr;
  for (std::size_t i = 0; i < stretches.size(); ++i) {
    if (!is_descent(stretches[i])) continue;
    const owned_text name = part_name(source.path, stretches[i].number);
    if (name) {
      write_part_file(source, stretches[i], name.get(), error);
    } else {
      *error = "malloc() failed";
    }
    if (*error) return remove_parts(source.path, stretches.first(i));
  }
}

}  // namespace tarvel
