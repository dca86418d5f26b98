// Numbers on the command line of tarvel-check and tarvel-json.
//
// Each function fills the number, or fails with a message that quotes the argument. The whole argument must be a
// decimal number; that of draws and the seed must be an integer.
#pragma once

#include <cstdint>

#include "support/error_slot.h"

namespace tarvel {

// Seconds, stored as ms. Fails with "not a number of seconds: %s", also for more seconds than the ms can hold.
void parse_time_aloft(const char *argument, std::uint32_t &milliseconds, error_slot *error);

// Fails with "not a number of draws from 40 to 10000: %s".
void parse_draws(const char *argument, std::uint32_t &draws, error_slot *error);

// Fails with "not a whole number: %s".
void parse_seed(const char *argument, std::uint64_t &seed, error_slot *error);

}  // namespace tarvel
