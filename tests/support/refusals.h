// Every request for memory of a stage refused in turn.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "support/allocation_limit.h"
#include "support/error_slot.h"

namespace tarvel {

// The messages of a stage when all requests but the first 0, 1, 2, ... are refused, until it succeeds: each message
// once, in the order in which they come. attempt(granted) sets the limit, runs the stage, expects an unchanged output
// after a failure and a complete one otherwise, and returns the message, null for success.
template <typename action>
[[nodiscard]] std::vector<std::string> messages_of_refusals(action attempt) {
  std::vector<std::string> messages;
  for (std::size_t granted = 0; granted < 10000; ++granted) {
    SCOPED_TRACE(std::to_string(granted) + " requests granted");
    const error_slot message = attempt(granted);
    if (message == nullptr) return messages;
    if (std::find(messages.begin(), messages.end(), message) == messages.end()) messages.emplace_back(message);
  }
  ADD_FAILURE() << "still fails with 10,000 requests granted";
  return messages;
}

}  // namespace tarvel
