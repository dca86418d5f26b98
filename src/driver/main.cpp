#include <cstdlib>

#include "driver/exit.h"
#include "driver/modes.h"
#include "driver/options.h"
#include "driver/process_setup.h"
#include "driver/protected_inputs.h"

int main(int argc, char *argv[]) {
  tarvel::error_slot error = nullptr;
  tarvel::open_standard_streams(&error);
  tarvel::fatal_error(error);
  tarvel::ignore_write_signals();
  tarvel::run_config config;
  tarvel::parse_options(argc, argv, config);

  // Before the first output, since the gate's outputs must not overwrite a run that is read after them.
  if (config.gate_file) tarvel::protect_input(config.gate_file.get(), &error);
  if (config.swoop_file) tarvel::protect_input(config.swoop_file.get(), &error);
  tarvel::fatal_error(error);
  tarvel::load_time_zone(&error);
  tarvel::fatal_error(error);
  if (config.gate_file) tarvel::run_gate_mode(config);
  if (config.swoop_file) tarvel::run_swoop_mode(config);
  tarvel::exit_program(EXIT_SUCCESS);
}
