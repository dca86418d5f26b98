#include <cstdlib>

#include "driver/exit.h"
#include "driver/modes.h"
#include "driver/options.h"
#include "driver/process_setup.h"
#include "driver/protected_inputs.h"

namespace {

// Before the first output: the gate's outputs must not destroy a run that is read only after them.
void protect_tracks(const tarvel::run_config &config) {
  tarvel::error_slot error = nullptr;
  if (config.gate_file) tarvel::protect_input(config.gate_file.get(), &error);
  if (config.swoop_file) tarvel::protect_input(config.swoop_file.get(), &error);
  tarvel::fatal_error(error);
}

void prepare_standard_streams() {
  tarvel::error_slot error = nullptr;
  tarvel::open_standard_streams(&error);
  tarvel::fatal_error(error);
}

void prepare_time_zone() {
  tarvel::error_slot error = nullptr;
  tarvel::load_time_zone(&error);
  tarvel::fatal_error(error);
}

}  // namespace

int main(int argc, char *argv[]) {
  prepare_standard_streams();
  tarvel::ignore_write_signals();
  tarvel::run_config config;
  tarvel::parse_options(argc, argv, config);
  protect_tracks(config);
  prepare_time_zone();
  if (config.gate_file) tarvel::run_gate_mode(config);
  if (config.swoop_file) tarvel::run_swoop_mode(config);
  tarvel::exit_program(EXIT_SUCCESS);
}
